#include "vorn/SmControl.h"

#include <gtest/gtest.h>

namespace {

using Vorn::RunMode;
using Vorn::SmControl;

TEST(SmControl, NamesNoSchedulerAndNoRingAndRunsInTasksAtFirst) {
   SmControl const control;
   EXPECT_FALSE(control.taskScheduler());
   EXPECT_FALSE(control.qtHandle());
   EXPECT_EQ(control.runMode(), RunMode::asynchronous);
   EXPECT_EQ(control.taskPriority(), Kolm::TaskPriority());
}

TEST(SmControl, HasTheFrozenRunModes) {
   EXPECT_EQ(static_cast<int>(RunMode::synchronous), 1);
   EXPECT_EQ(static_cast<int>(RunMode::asynchronous), 2);
}

TEST(SmControl, KeepsWhatItIsGivenAndHoldsAUse) {
   auto const scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   auto const ring =
      Pelk::makePtr<Fennlog::TraceHandle>(Fennlog::TraceHandle::kMinBytes);
   SmControl control;
   control.taskSchedulerIs(scheduler);
   control.taskPriorityIs(Kolm::TaskPriority(7));
   control.runModeIs(RunMode::synchronous);
   control.qtHandleIs(ring);
   EXPECT_EQ(control.taskScheduler(), scheduler);
   EXPECT_EQ(control.taskPriority(), Kolm::TaskPriority(7));
   EXPECT_EQ(control.runMode(), RunMode::synchronous);
   EXPECT_EQ(control.qtHandle(), ring);
   EXPECT_EQ(scheduler->useCount(), 2u);
   EXPECT_EQ(ring->useCount(), 2u);
}

TEST(SmControl, IsAPlainValue) {
   SmControl control;
   control.taskSchedulerIs(Pelk::makePtr<Kolm::TaskScheduler>());
   SmControl copy = control;
   EXPECT_EQ(copy, control);
   copy.taskSchedulerIs(nullptr);
   EXPECT_NE(copy, control);
   EXPECT_TRUE(control.taskScheduler());
}

} // namespace
