#include "kolm/Share.h"

#include "RecordingTask.h"
#include "support/DeathMessages.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>

namespace {

using Kolm::Share;
using Kolm::TaskScheduler;
using testing::ElementsAre;
using namespace std::chrono_literals;

class ShareTest : public testing::Test {
 protected:
   // How many polls each of the slices made until one answered true, at most 50.
   std::vector<int> pollsOf(RecordingTask& task, int slices) {
      std::vector<int> polls;
      task.slice = [&] {
         polls.push_back(pollsUntilTrue(task));
         if (static_cast<int>(polls.size()) < slices) {
            task.task->scheduleTask();
         }
      };
      task.task->scheduleTask();
      scheduler->runUntilIdle();
      return polls;
   }
   static int pollsUntilTrue(RecordingTask const& task) {
      int polls = 1;
      while (!task.task->taskShouldYield() && polls < 50) {
         ++polls;
      }
      return polls;
   }

   Pelk::Ptr<TaskScheduler> scheduler = Pelk::makePtr<TaskScheduler>();
   RecordingTask::Log log;
   RecordingTask a{scheduler, 1, "a", log};
   RecordingTask b{scheduler, 1, "b", log};
};

TEST_F(ShareTest, APollShareAnswersTrueOnEveryKthPoll) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(3));
   std::vector<bool> answers;
   a.slice = [&] {
      for (int i = 0; i < 7; ++i) {
         answers.push_back(a.task->taskShouldYield());
      }
   };
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_THAT(answers, ElementsAre(false, false, true, false, false, true, false));
}

TEST_F(ShareTest, APollShareCountsAfreshWithEachSlice) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(3));
   std::vector<bool> answers;
   a.slice = [&] {
      answers.push_back(a.task->taskShouldYield());
      answers.push_back(a.task->taskShouldYield());
      if (a.task->taskSlices() < 3) {
         a.task->scheduleTask();
      }
   };
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_EQ(answers, std::vector<bool>(6, false));
}

TEST_F(ShareTest, APollShareOfOneYieldsAfterEveryItem) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(1));
   EXPECT_THAT(pollsOf(a, 3), ElementsAre(1, 1, 1));
}

TEST_F(ShareTest, AnUnlimitedShareNeverYields) {
   scheduler->shareIs(std::make_unique<Kolm::UnlimitedShare>());
   EXPECT_THAT(pollsOf(a, 1), ElementsAre(50));
}

TEST_F(ShareTest, AScriptedShareAnswersFromItsListAndThenFalse) {
   auto share = std::make_unique<Kolm::ScriptedShare>(
      std::vector<bool>{false, true, true, false, false, true});
   auto const* const script = share.get();
   scheduler->shareIs(std::move(share));
   EXPECT_THAT(pollsOf(a, 2), ElementsAre(2, 1));
   EXPECT_EQ(script->used(), 3u);
   EXPECT_THAT(pollsOf(b, 2), ElementsAre(3, 50));
   EXPECT_EQ(script->used(), 6u);
}

TEST_F(ShareTest, ARandomShareRepeatsWithItsSeed) {
   scheduler->shareIs(std::make_unique<Kolm::RandomShare>(7, 3));
   auto const first = pollsOf(a, 20);
   scheduler->shareIs(std::make_unique<Kolm::RandomShare>(7, 3));
   EXPECT_EQ(pollsOf(a, 20), first);
   scheduler->shareIs(std::make_unique<Kolm::RandomShare>(8, 3));
   EXPECT_NE(pollsOf(a, 20), first);
   EXPECT_GT(*std::max_element(first.begin(), first.end()), 1);
}

TEST_F(ShareTest, ATimeShareYieldsOnceItsTimeIsOverAndNotBefore) {
   scheduler->shareIs(std::make_unique<Kolm::TimeShare>(20ms));
   a.slice = [&] {
      auto const begin = std::chrono::steady_clock::now();
      EXPECT_FALSE(a.task->taskShouldYield());
      while (!a.task->taskShouldYield()) {
      }
      EXPECT_GE(std::chrono::steady_clock::now() - begin, 19ms);
      EXPECT_TRUE(a.task->taskShouldYield()) << "true until the slice ends";
      if (a.task->taskSlices() < 3) {
         a.task->scheduleTask();
      }
   };
   a.task->scheduleTask();
   EXPECT_EQ(scheduler->runUntilIdle(), 3u);
}

TEST_F(ShareTest, ATimeShareSkipsFewPollsWhenItemsGrowDear) {
   scheduler->shareIs(std::make_unique<Kolm::TimeShare>(500ms));
   a.slice = [&] {
      for (int cheap = 0; cheap < 1000; ++cheap) {
         EXPECT_FALSE(a.task->taskShouldYield());
      }
      std::this_thread::sleep_for(500ms);
      EXPECT_LE(pollsUntilTrue(a), 16) << "the share is over, whatever the pace was";
   };
   a.task->scheduleTask();
   EXPECT_EQ(scheduler->runUntilIdle(), 1u);
}

TEST_F(ShareTest, ATimeShareIsTheDefault) {
   EXPECT_NE(dynamic_cast<Kolm::TimeShare*>(&scheduler->share()), nullptr);
}

TEST_F(ShareTest, TheFirstPollOutsideASliceOpensAnImplicitOne) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(3));
   EXPECT_THAT(pollsUntilTrue(a), 3);
   EXPECT_FALSE(a.task->taskCurrentlyRunning());
   EXPECT_FALSE(a.task->taskShouldYield());
   a.task->scheduleTask();
   EXPECT_EQ(pollsUntilTrue(a), 3) << "asking for a slice ended the implicit one";
}

TEST_F(ShareTest, AnImplicitSliceEndsWhenTheSchedulerRunsAnySlice) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(3));
   EXPECT_FALSE(a.task->taskShouldYield());
   b.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_EQ(pollsUntilTrue(a), 3);
}

TEST_F(ShareTest, AnImplicitSliceInsideAnothersSliceLeavesThatCountAlone) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(3));
   std::vector<bool> answers;
   a.slice = [&] {
      answers.push_back(a.task->taskShouldYield());
      EXPECT_EQ(pollsUntilTrue(b), 3);
      answers.push_back(a.task->taskShouldYield());
      answers.push_back(a.task->taskShouldYield());
   };
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_THAT(answers, ElementsAre(false, false, true));
}

TEST_F(ShareTest, ASliceDoesNotGoOnWhereTheImplicitOneWas) {
   scheduler->shareIs(std::make_unique<Kolm::PollShare>(3));
   EXPECT_FALSE(a.task->taskShouldYield());
   EXPECT_FALSE(a.task->taskShouldYield());
   EXPECT_THAT(pollsOf(a, 2), ElementsAre(3, 3));
}

TEST(ShareDeathTest, APollShareOfZeroIsFatal) {
   EXPECT_DEATH(Kolm::PollShare(0),
                Support::assertionMessage(
                   "A poll share yields at every k-th poll, and k is at least 1"));
}

TEST(ShareDeathTest, ARandomShareOfOneInZeroIsFatal) {
   EXPECT_DEATH(
      Kolm::RandomShare(1, 0),
      Support::assertionMessage("A random share yields once in at least 1 poll"));
}

} // namespace
