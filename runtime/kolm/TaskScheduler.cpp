#include "kolm/TaskScheduler.h"

#include "kolm/Task.h"
#include "pelk/Assert.h"

namespace Kolm {

TaskScheduler::TaskScheduler() : share_(std::make_unique<TimeShare>()) {}

TaskScheduler::~TaskScheduler() = default;

void TaskScheduler::shareIs(std::unique_ptr<Share> share) {
   PELK_ASSERT(share, "A scheduler needs a share");
   PELK_ASSERT(running_ == nullptr, "The share cannot change inside a slice");
   share_ = std::move(share);
   ++turn_; // what a task remembers of its slice belongs to the share before
}

void TaskScheduler::enqueue(Task& task) {
   auto& queue = queues_[task.priority_];
   task.previous_ = queue.last;
   task.next_ = nullptr;
   (queue.last != nullptr ? queue.last->next_ : queue.first) = &task;
   queue.last = &task;
   task.isQueued_ = true;
   ++pending_;
}

void TaskScheduler::dequeue(Task& task) noexcept {
   auto const at = queues_.find(task.priority_);
   auto& queue = at->second;
   (task.previous_ != nullptr ? task.previous_->next_ : queue.first) = task.next_;
   (task.next_ != nullptr ? task.next_->previous_ : queue.last) = task.previous_;
   task.isQueued_ = false;
   --pending_;
   if (queue.first == nullptr) {
      queues_.erase(at);
   }
}

bool TaskScheduler::runSlice() {
   PELK_ASSERT(running_ == nullptr, "A slice ends before the next one begins");
   if (queues_.empty()) {
      return false;
   }
   // The slice may drop the task's last other use, and with it the scheduler's.
   Pelk::Ptr<TaskScheduler> const self(this);
   Pelk::Ptr<Task> const task(queues_.begin()->second.first);
   dequeue(*task);
   ++turn_;
   ++slices_;
   ++task->slices_;
   task->sliceBegin();
   running_ = task.get();

   uint64_t const itemsBefore = task->workCount_;
   auto const begin = Slice::Clock::now();
   task->publishChangeRecursive(kTaskRun);
   running_ = nullptr;
   ++turn_;
   if (observer_) {
      observer_(
         {*task, slices_, task->workCount_ - itemsBefore, Slice::Clock::now() - begin});
   }
   return true;
}

uint64_t TaskScheduler::runUntilIdle() {
   uint64_t count = 0;
   Pelk::Ptr<TaskScheduler> const self(this);
   while (runSlice()) {
      ++count;
   }
   return count;
}

namespace {

Pelk::Ptr<TaskScheduler>& rootScheduler() {
   static Pelk::Ptr<TaskScheduler> theScheduler;
   return theScheduler;
}

} // namespace

Pelk::Ptr<TaskScheduler> TaskSchedulerRoot::findOrCreateScheduler() {
   auto& scheduler = rootScheduler();
   if (!scheduler) {
      scheduler = Pelk::makePtr<TaskScheduler>();
   }
   return scheduler;
}

void TaskSchedulerRoot::schedulerDel() noexcept {
   rootScheduler() = nullptr;
}

} // namespace Kolm
