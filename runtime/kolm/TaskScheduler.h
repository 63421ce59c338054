#pragma once

#include "kolm/Share.h"
#include "kolm/TaskPriority.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "pelk/SharedObject.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace Kolm {

class Task;

// What is told about a slice that has ended.
struct SliceReport {
   Task const& task;   // readable during the call
   uint64_t slice = 0; // 1 for the scheduler's first
   uint64_t items = 0; // that the task reported in it
   // From the slice's begin to its end.
   std::chrono::nanoseconds time{};
};

// Runs tasks, a slice at a time, on the event thread: the lowest priority number
// first, and in turn within one. Nothing runs unless the host calls.
//
// A task holds a use on its scheduler; the scheduler holds none on the tasks.
class PELK_EXPORT TaskScheduler final : public Pelk::SharedObject {
 public:
   // What is called after a slice.
   using SliceObserver = std::function<void(SliceReport const& report)>;

   TaskScheduler();
   ~TaskScheduler() override;

   // The share of every slice; a TimeShare at first. Null is a fatal assertion. Not
   // to be changed inside a slice.
   void shareIs(std::unique_ptr<Share> share);
   Share& share() noexcept { return *share_; }

   // Called after every slice; empty for nobody.
   void sliceObserverIs(SliceObserver observer) { observer_ = std::move(observer); }

   // Runs one slice of the task whose turn it is; false when no task is due. A slice
   // is not to run another: fatal assertion.
   bool runSlice();
   // Runs slices until no task is due; returns how many.
   uint64_t runUntilIdle();

   // How many tasks are due.
   uint64_t pending() const noexcept { return pending_; }
   // How many slices were run.
   uint64_t slices() const noexcept { return slices_; }

 private:
   friend class Task; // which enters and leaves the queues

   struct Queue {
      Task* first = nullptr;
      Task* last = nullptr;
   };

   void enqueue(Task& task);
   void dequeue(Task& task) noexcept;

   std::unique_ptr<Share> share_;
   SliceObserver observer_;
   std::map<TaskPriority, Queue> queues_; // none is empty
   uint64_t pending_ = 0;
   uint64_t slices_ = 0;
   uint64_t turn_ = 1; // changes when a slice begins and when it ends
   Task* running_ = nullptr;
};

// Where a machine gets its scheduler when its control record names none.
class PELK_EXPORT TaskSchedulerRoot {
 public:
   // The process's scheduler, made on first use.
   static Pelk::Ptr<TaskScheduler> findOrCreateScheduler();
   // Lets go of it: the next call above makes another.
   static void schedulerDel() noexcept;
};

} // namespace Kolm
