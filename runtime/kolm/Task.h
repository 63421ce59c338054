#pragma once

#include "kolm/Share.h"
#include "kolm/TaskPriority.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "pelk/Publisher.h"
#include "pelk/SharedObject.h"
#include "pelk/String.h"

#include <cstdint>

namespace Kolm {

class TaskScheduler;

// The attribute that a task publishes when it is to run. Frozen.
inline constexpr int16_t kTaskRun = 131;

// A cooperative work item. scheduleTask() asks for a slice; when its turn comes the
// task publishes kTaskRun, and its subscriber does a bounded piece of work in the
// callback, polls taskShouldYield() after each item, and asks for another slice when
// work is left.
//
// A slice holds a use on its task until the callback returns. A task that goes, also
// from inside its own slice, is not run again.
//
// Work may also be done outside of any slice (the first piece of a scan is done by
// the task's creator). The first poll outside opens an implicit slice, which has a
// share of its own; it lasts until scheduleTask(), or until the scheduler begins or
// ends a slice of any task. taskCurrentlyRunning() is false there.
//
// Event thread only.
class PELK_EXPORT Task final : public Pelk::SharedObject, public Pelk::Publisher {
 public:
   // The scheduler may not be null: fatal assertion.
   Task(Pelk::Ptr<TaskScheduler> scheduler, TaskPriority priority, Pelk::String name);
   ~Task() override;

   // What runs it; fixed.
   Pelk::Ptr<TaskScheduler> const& taskScheduler() const noexcept { return scheduler_; }
   // What messages and reports call it; fixed.
   Pelk::String const& taskName() const noexcept { return name_; }
   // Among the tasks that are due, the lower number runs first.
   TaskPriority taskPriority() const noexcept { return priority_; }
   // A task that is due moves to the end of its new priority; the same priority
   // changes nothing.
   void taskPriorityIs(TaskPriority priority);

   // Asks for a slice. Asking again before it has begun changes nothing; asking from
   // inside the task's own slice gives another one.
   void scheduleTask();
   // Whether a slice was asked for and has not begun.
   bool taskScheduled() const noexcept { return isQueued_; }

   // Whether the current slice has used its share. To be polled after every item.
   bool taskShouldYield();
   // Whether the caller is inside this task's slice.
   bool taskCurrentlyRunning() const noexcept;

   // Each is of the accounting: items done, in all; items left, as last told; slices
   // begun. The second argument is reserved by the contract and is 0. A pending count
   // that is not 0 says that the task has unfinished work.
   void taskWorkCountInc(uint64_t count, uint32_t reserved) noexcept;
   uint64_t taskWorkCount() const noexcept { return workCount_; }
   void taskWorkPendingIs(uint64_t count) noexcept { workPending_ = count; }
   uint64_t taskWorkPending() const noexcept { return workPending_; }
   uint64_t taskSlices() const noexcept { return slices_; }

 private:
   friend class TaskScheduler; // which keeps its queues in its tasks

   void sliceBegin();

   Pelk::Ptr<TaskScheduler> const scheduler_;
   Pelk::String const name_;
   TaskPriority priority_;

   // In the queue of the priority.
   bool isQueued_ = false;
   Task* previous_ = nullptr;
   Task* next_ = nullptr;

   Slice slice_;
   uint64_t sliceTurn_ = 0; // the scheduler's turn that slice_ belongs to; 0 for none

   uint64_t workCount_ = 0;
   uint64_t workPending_ = 0;
   uint64_t slices_ = 0;
};

} // namespace Kolm
