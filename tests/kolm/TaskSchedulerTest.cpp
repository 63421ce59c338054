#include "kolm/TaskScheduler.h"

#include "RecordingTask.h"
#include "support/DeathMessages.h"

#include <gmock/gmock.h>
#include <memory>

namespace {

using Kolm::Task;
using Kolm::TaskPriority;
using Kolm::TaskScheduler;
using Kolm::TaskSchedulerRoot;
using testing::ElementsAre;

TEST(TaskSchedulerRoot, GivesTheSameSchedulerEveryTime) {
   auto const scheduler = TaskSchedulerRoot::findOrCreateScheduler();
   ASSERT_TRUE(scheduler);
   EXPECT_EQ(TaskSchedulerRoot::findOrCreateScheduler(), scheduler);
   TaskSchedulerRoot::schedulerDel();
   EXPECT_EQ(scheduler->useCount(), 1u);
   EXPECT_NE(TaskSchedulerRoot::findOrCreateScheduler(), scheduler);
   TaskSchedulerRoot::schedulerDel();
}

TEST(TaskScheduler, LivesAsLongAsATaskDoes) {
   RecordingTask::Log log;
   auto scheduler = Pelk::makePtr<TaskScheduler>();
   auto* const raw = scheduler.get();
   RecordingTask const a(scheduler, 1, "a", log);
   scheduler = nullptr;
   EXPECT_EQ(raw->useCount(), 1u);
   a.task->scheduleTask();
   EXPECT_TRUE(raw->runSlice());
   EXPECT_THAT(log, ElementsAre("a"));
}

TEST(TaskScheduler, OutlivesASliceThatDropsItsLastTask) {
   RecordingTask::Log log;
   auto scheduler = Pelk::makePtr<TaskScheduler>();
   auto* const raw = scheduler.get();
   RecordingTask a(scheduler, 1, "a", log);
   a.slice = [&] { a.drop(); };
   a.task->scheduleTask();
   scheduler = nullptr;
   EXPECT_EQ(raw->runUntilIdle(), 1u);
   EXPECT_THAT(log, ElementsAre("a"));
}

TEST(TaskScheduler, RunsOneSliceAtATimeAndSaysWhenNoneIsDue) {
   RecordingTask::Log log;
   auto const scheduler = Pelk::makePtr<TaskScheduler>();
   RecordingTask const a(scheduler, 1, "a", log);
   RecordingTask const b(scheduler, 1, "b", log);
   a.task->scheduleTask();
   b.task->scheduleTask();
   EXPECT_EQ(scheduler->pending(), 2u);
   EXPECT_TRUE(scheduler->runSlice());
   EXPECT_EQ(scheduler->pending(), 1u);
   EXPECT_THAT(log, ElementsAre("a"));
   EXPECT_TRUE(scheduler->runSlice());
   EXPECT_FALSE(scheduler->runSlice());
   EXPECT_EQ(scheduler->slices(), 2u);
}

TEST(TaskScheduler, TellsItsObserverOfEverySlice) {
   RecordingTask::Log log;
   auto const scheduler = Pelk::makePtr<TaskScheduler>();
   RecordingTask a(scheduler, 1, "a", log);
   a.task->taskWorkCountInc(100, 0);
   a.slice = [&] {
      a.task->taskWorkCountInc(a.task->taskSlices(), 0);
      if (a.task->taskSlices() == 1) {
         a.task->scheduleTask();
      }
   };
   std::vector<std::string> told;
   scheduler->sliceObserverIs([&](Kolm::SliceReport const& report) {
      EXPECT_FALSE(report.task.taskCurrentlyRunning());
      EXPECT_GE(report.time.count(), 0);
      told.push_back(std::string(report.task.taskName().view()) + " " +
                     std::to_string(report.slice) + " " + std::to_string(report.items));
   });
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_THAT(told, ElementsAre("a 1 1", "a 2 2"));
}

TEST(TaskScheduler, TellsItsObserverOfATaskThatWasDroppedInItsSlice) {
   RecordingTask::Log log;
   auto const scheduler = Pelk::makePtr<TaskScheduler>();
   RecordingTask a(scheduler, 1, "gone", log);
   a.slice = [&] { a.drop(); };
   std::string told;
   scheduler->sliceObserverIs(
      [&](Kolm::SliceReport const& report) { told = report.task.taskName().view(); });
   a.task->scheduleTask();
   scheduler->runUntilIdle();
   EXPECT_EQ(told, "gone");
}

TEST(TaskSchedulerDeathTest, ASliceThatRunsAnotherIsFatal) {
   EXPECT_DEATH(
      {
         RecordingTask::Log log;
         auto const scheduler = Pelk::makePtr<TaskScheduler>();
         RecordingTask a(scheduler, 1, "a", log);
         a.slice = [&] { scheduler->runSlice(); };
         a.task->scheduleTask();
         scheduler->runSlice();
      },
      Support::assertionMessage("A slice ends before the next one begins"));
}

TEST(TaskSchedulerDeathTest, AnotherShareInsideASliceIsFatal) {
   EXPECT_DEATH(
      {
         RecordingTask::Log log;
         auto const scheduler = Pelk::makePtr<TaskScheduler>();
         RecordingTask a(scheduler, 1, "a", log);
         a.slice = [&] {
            scheduler->shareIs(std::make_unique<Kolm::UnlimitedShare>());
         };
         a.task->scheduleTask();
         scheduler->runSlice();
      },
      Support::assertionMessage("The share cannot change inside a slice"));
}

TEST(TaskSchedulerDeathTest, ANullShareIsFatal) {
   auto const scheduler = Pelk::makePtr<TaskScheduler>();
   EXPECT_DEATH(scheduler->shareIs(nullptr),
                Support::assertionMessage("A scheduler needs a share"));
}

} // namespace
