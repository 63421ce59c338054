#include "kolm/Task.h"

#include "kolm/TaskScheduler.h"
#include "pelk/Assert.h"

#include <ostream>
#include <utility>

namespace Kolm {

std::ostream& operator<<(std::ostream& out, TaskPriority priority) {
   return out << priority.value();
}

Task::Task(Pelk::Ptr<TaskScheduler> scheduler, TaskPriority priority, Pelk::String name)
   : scheduler_(std::move(scheduler)), name_(std::move(name)), priority_(priority) {
   PELK_ASSERT(scheduler_, "A task needs a scheduler");
}

Task::~Task() {
   if (isQueued_) {
      scheduler_->dequeue(*this);
   }
}

void Task::taskPriorityIs(TaskPriority priority) {
   if (priority == priority_) {
      return;
   }
   bool const wasQueued = isQueued_;
   if (wasQueued) {
      scheduler_->dequeue(*this);
   }
   priority_ = priority;
   if (wasQueued) {
      scheduler_->enqueue(*this);
   }
}

void Task::scheduleTask() {
   if (!taskCurrentlyRunning()) {
      sliceTurn_ = 0;
   }
   if (!isQueued_) {
      scheduler_->enqueue(*this);
   }
}

bool Task::taskCurrentlyRunning() const noexcept {
   return scheduler_->running_ == this;
}

void Task::sliceBegin() {
   slice_ = Slice{};
   sliceTurn_ = scheduler_->turn_;
   scheduler_->share_->sliceBegin(*this, slice_);
}

bool Task::taskShouldYield() {
   if (sliceTurn_ != scheduler_->turn_) {
      sliceBegin();
   }
   bool const answer = scheduler_->share_->shouldYield(*this, slice_);
   ++slice_.polls;
   return answer;
}

void Task::taskWorkCountInc(uint64_t count,
                            [[maybe_unused]] uint32_t reserved) noexcept {
   workCount_ += count;
}

} // namespace Kolm
