#include "kolm/Task.h"

#include "RecordingTask.h"
#include "support/DeathMessages.h"

#include <gmock/gmock.h>
#include <optional>

namespace {

using Kolm::Task;
using Kolm::TaskPriority;
using Kolm::TaskScheduler;
using testing::ElementsAre;
using testing::IsEmpty;

class TaskTest : public testing::Test {
 protected:
   Pelk::Ptr<TaskScheduler> scheduler = Pelk::makePtr<TaskScheduler>();
   RecordingTask::Log log;
};

TEST_F(TaskTest, KeepsSchedulerPriorityAndName) {
   auto const task = Pelk::makePtr<Task>(scheduler, TaskPriority(7), "Scan");
   EXPECT_EQ(task->taskScheduler(), scheduler);
   EXPECT_EQ(task->taskPriority(), TaskPriority(7));
   EXPECT_EQ(task->taskName(), "Scan");
   task->taskPriorityIs(TaskPriority(9));
   EXPECT_EQ(task->taskPriority(), TaskPriority(9));
}

TEST_F(TaskTest, DoesNotRunUnlessAsked) {
   RecordingTask const a(scheduler, 1, "a", log);
   EXPECT_EQ(scheduler->pending(), 0u);
   EXPECT_FALSE(scheduler->runSlice());
   EXPECT_THAT(log, IsEmpty());
}

TEST_F(TaskTest, PublishesAttribute131WithoutKeyOrValue) {
   RecordingTask const a(scheduler, 1, "a", log);
   a.task->scheduleTask();
   EXPECT_TRUE(a.task->taskScheduled());
   EXPECT_THAT(log, IsEmpty()) << "asking does not run";
   EXPECT_TRUE(scheduler->runSlice());
   EXPECT_THAT(log, ElementsAre("a"));
   EXPECT_TRUE(a.lastWasAsExpected);
   EXPECT_FALSE(a.task->taskScheduled());
}

TEST_F(TaskTest, RunsTheLowestPriorityNumberFirst) {
   RecordingTask const low(scheduler, 9, "low", log);
   RecordingTask const high(scheduler, 1, "high", log);
   RecordingTask const middle(scheduler, 5, "middle", log);
   low.task->scheduleTask();
   middle.task->scheduleTask();
   high.task->scheduleTask();
   EXPECT_EQ(scheduler->pending(), 3u);
   EXPECT_EQ(scheduler->runUntilIdle(), 3u);
   EXPECT_THAT(log, ElementsAre("high", "middle", "low"));
}

TEST_F(TaskTest, OfAHigherPriorityRunsBeforeTheNextSliceOfALowerOne) {
   RecordingTask low(scheduler, 9, "low", log);
   RecordingTask const high(scheduler, 1, "high", log);
   low.slice = [&] {
      if (log.size() < 4) {
         low.task->scheduleTask();
         if (log.size() == 1) {
            high.task->scheduleTask();
         }
      }
   };
   low.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_THAT(log, ElementsAre("low", "high", "low", "low"));
}

TEST_F(TaskTest, TakesTurnsWithTheOthersOfItsPriority) {
   RecordingTask a(scheduler, 3, "a", log);
   RecordingTask b(scheduler, 3, "b", log);
   RecordingTask c(scheduler, 3, "c", log);
   for (auto* task : {&a, &b, &c}) {
      task->slice = [task] {
         if (task->task->taskSlices() < 3) {
            task->task->scheduleTask();
         }
      };
      task->task->scheduleTask();
   }
   scheduler->runUntilIdle();
   EXPECT_THAT(log, ElementsAre("a", "b", "c", "a", "b", "c", "a", "b", "c"));
}

TEST_F(TaskTest, LosesNoRequestMadeInItsOwnSlice) {
   RecordingTask a(scheduler, 3, "a", log);
   a.slice = [&] {
      if (a.task->taskSlices() == 1) {
         a.task->scheduleTask();
         EXPECT_TRUE(a.task->taskScheduled());
      }
   };
   a.task->scheduleTask();
   EXPECT_EQ(scheduler->runUntilIdle(), 2u);
}

TEST_F(TaskTest, RunsOnceForManyRequests) {
   RecordingTask a(scheduler, 3, "a", log);
   a.slice = [&] {
      if (a.task->taskSlices() == 1) {
         a.task->scheduleTask();
         a.task->scheduleTask();
      }
   };
   a.task->scheduleTask();
   a.task->scheduleTask();
   EXPECT_EQ(scheduler->pending(), 1u);
   EXPECT_EQ(scheduler->runUntilIdle(), 2u);
}

TEST_F(TaskTest, ThatGoesWhileItIsDueIsNotRun) {
   RecordingTask const a(scheduler, 3, "a", log);
   RecordingTask b(scheduler, 3, "b", log);
   RecordingTask const c(scheduler, 3, "c", log);
   for (auto* task : {a.task.get(), b.task.get(), c.task.get()}) {
      task->scheduleTask();
   }
   b.drop();
   EXPECT_EQ(scheduler->pending(), 2u);
   scheduler->runUntilIdle();
   EXPECT_THAT(log, ElementsAre("a", "c"));
}

TEST_F(TaskTest, ThatIsDroppedInItsOwnSliceLivesUntilItReturnsAndIsNotRunAgain) {
   RecordingTask a(scheduler, 3, "a", log);
   std::optional<uint32_t> usesInside;
   a.slice = [&] {
      a.task->scheduleTask();
      auto* const raw = a.task.get();
      a.drop();
      usesInside = raw->useCount();
   };
   a.task->scheduleTask();
   EXPECT_EQ(scheduler->runUntilIdle(), 1u);
   EXPECT_EQ(usesInside, 1u);
   EXPECT_EQ(scheduler->pending(), 0u);
   EXPECT_THAT(log, ElementsAre("a"));
}

TEST_F(TaskTest, ThatIsDroppedInItsSliceCallsNoLaterSubscriber) {
   RecordingTask a(scheduler, 3, "a", log);
   struct Second {
      int calls = 0;
      void run(Pelk::Publisher*, Pelk::Subscriber*, int16_t, void const*,
               void const*) noexcept {
         ++calls;
      }
   } second;
   auto subscriber = Pelk::MemberSubscriber<Second>::of<&Second::run>(&second);
   a.task->subscriberAdd(&subscriber, 0);
   a.slice = [&] {
      a.task->subscriberRemove(&subscriber);
      a.drop();
   };
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_EQ(second.calls, 0);
   EXPECT_EQ(subscriber.subscriptions(), 0u);
}

TEST_F(TaskTest, MayGoInTheSliceOfAnother) {
   RecordingTask a(scheduler, 3, "a", log);
   RecordingTask b(scheduler, 3, "b", log);
   a.slice = [&] { b.drop(); };
   a.task->scheduleTask();
   b.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_THAT(log, ElementsAre("a"));
}

TEST_F(TaskTest, MovesToTheEndOfItsNewPriority) {
   RecordingTask const a(scheduler, 3, "a", log);
   RecordingTask const b(scheduler, 3, "b", log);
   RecordingTask const c(scheduler, 1, "c", log);
   for (auto* task : {a.task.get(), b.task.get(), c.task.get()}) {
      task->scheduleTask();
   }
   b.task->taskPriorityIs(TaskPriority(1));
   a.task->taskPriorityIs(TaskPriority(3));
   scheduler->runUntilIdle();
   EXPECT_THAT(log, ElementsAre("c", "b", "a"));
}

TEST_F(TaskTest, MayChangeItsPriorityInItsSlice) {
   RecordingTask a(scheduler, 3, "a", log);
   RecordingTask const b(scheduler, 5, "b", log);
   a.slice = [&] {
      if (a.task->taskSlices() == 1) {
         a.task->scheduleTask();
         a.task->taskPriorityIs(TaskPriority(9));
      }
   };
   a.task->scheduleTask();
   b.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_THAT(log, ElementsAre("a", "b", "a"));
}

TEST_F(TaskTest, IsCurrentlyRunningOnlyInsideItsOwnSlice) {
   RecordingTask a(scheduler, 3, "a", log);
   RecordingTask const b(scheduler, 3, "b", log);
   bool inside = false;
   bool otherInside = true;
   a.slice = [&] {
      inside = a.task->taskCurrentlyRunning();
      otherInside = b.task->taskCurrentlyRunning();
   };
   a.task->scheduleTask();
   EXPECT_FALSE(a.task->taskCurrentlyRunning());
   scheduler->runUntilIdle();
   EXPECT_TRUE(inside);
   EXPECT_FALSE(otherInside);
   EXPECT_FALSE(a.task->taskCurrentlyRunning());
}

TEST_F(TaskTest, CountsItsWork) {
   RecordingTask a(scheduler, 3, "a", log);
   EXPECT_EQ(a.task->taskWorkPending(), 0u);
   a.slice = [&] {
      a.task->taskWorkCountInc(5, 0);
      a.task->taskWorkCountInc(2, 0);
      a.task->taskWorkPendingIs(40);
   };
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_EQ(a.task->taskWorkCount(), 14u);
   EXPECT_EQ(a.task->taskWorkPending(), 40u);
   EXPECT_EQ(a.task->taskSlices(), 2u);
   a.task->taskWorkPendingIs(0);
   EXPECT_EQ(a.task->taskWorkPending(), 0u);
}

TEST(TaskDeathTest, WithoutASchedulerIsFatal) {
   EXPECT_DEATH(Pelk::makePtr<Task>(nullptr, TaskPriority(1), "a"),
                Support::assertionMessage("A task needs a scheduler"));
}

TEST(TaskPriority, HasTheLowerNumberFirst) {
   EXPECT_LT(TaskPriority(1), TaskPriority(2));
   EXPECT_EQ(TaskPriority(65535).value(), 65535);
   EXPECT_EQ(testing::PrintToString(TaskPriority(12)), "12");
}

} // namespace
