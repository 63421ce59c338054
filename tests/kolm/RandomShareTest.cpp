#include "kolm/Share.h"
#include "kolm/Task.h"
#include "kolm/TaskScheduler.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(RandomShare, OneInOneYieldsAtEveryPoll) {
   auto const scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   scheduler->shareIs(std::make_unique<Kolm::RandomShare>(1u, 1u));
   auto const task =
      Pelk::makePtr<Kolm::Task>(scheduler, Kolm::TaskPriority(1), "polled");
   for (int poll = 0; poll < 100; ++poll) {
      EXPECT_TRUE(task->taskShouldYield());
   }
}

} // namespace
