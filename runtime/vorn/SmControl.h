#pragma once

#include "fennlog/TraceHandle.h"
#include "kolm/TaskPriority.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"

#include <cstdint>
#include <utility>

namespace Vorn {

// How a machine does its scans. Frozen.
enum class RunMode : uint32_t {
   synchronous = 1,  // to the end, in the caller, without tasks
   asynchronous = 2, // in tasks
};

// The control record that is passed to every state machine; a plain value.
class PELK_EXPORT SmControl {
 public:
   // May be null: the machine then takes the process's scheduler.
   Pelk::Ptr<Kolm::TaskScheduler> const& taskScheduler() const noexcept {
      return taskScheduler_;
   }
   void taskSchedulerIs(Pelk::Ptr<Kolm::TaskScheduler> scheduler) noexcept {
      taskScheduler_ = std::move(scheduler);
   }

   // That of the machine's tasks.
   Kolm::TaskPriority taskPriority() const noexcept { return taskPriority_; }
   void taskPriorityIs(Kolm::TaskPriority priority) noexcept {
      taskPriority_ = priority;
   }

   // How the machine scans; asynchronously at first.
   RunMode runMode() const noexcept { return runMode_; }
   void runModeIs(RunMode mode) noexcept { runMode_ = mode; }

   // The ring trace that the machine writes to; null for none.
   Pelk::Ptr<Fennlog::TraceHandle> const& qtHandle() const noexcept {
      return qtHandle_;
   }
   void qtHandleIs(Pelk::Ptr<Fennlog::TraceHandle> handle) noexcept {
      qtHandle_ = std::move(handle);
   }

   bool operator==(SmControl const&) const noexcept = default;

 private:
   Pelk::Ptr<Kolm::TaskScheduler> taskScheduler_;
   Kolm::TaskPriority taskPriority_;
   RunMode runMode_ = RunMode::asynchronous;
   Pelk::Ptr<Fennlog::TraceHandle> qtHandle_;
};

} // namespace Vorn
