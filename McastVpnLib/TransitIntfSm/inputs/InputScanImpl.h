#pragma once

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputScan.h"
#include "McastVpnLib/TransitIntfSm/inputs/ScanTrace.h"
#include "pelk/Assert.h"

// How InputScan works. Included where a machine's scan is instantiated.
namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

template <typename Traits>
bool InputScan<Traits>::shouldYield() const {
   return task_ && !machine_->inReactor() && task_->taskShouldYield();
}

template <typename Traits>
bool InputScan<Traits>::inTask() const {
   return task_ && task_->taskCurrentlyRunning();
}

template <typename Traits>
bool InputScan<Traits>::isComplete() const {
   return state_ == ScanState::complete ||
          (state_ == ScanState::initialComplete && !machine_->initialScanDone());
}

template <typename Traits>
Pelk::Ptr<Kolm::Task> const&
InputScan<Traits>::taskIs(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                          Kolm::TaskPriority priority, Pelk::String const& name) {
   if (task_ && task_->taskScheduler() == scheduler &&
       task_->taskPriority() == priority && task_->taskName() == name) {
      return task_;
   }
   task_ = Pelk::makePtr<Kolm::Task>(scheduler, priority, name);
   subscription_.sourceIs(task_);
   scan();
   return task_;
}

template <typename Traits>
void InputScan<Traits>::taskDel() {
   subscription_.sourceIs(nullptr);
   task_ = nullptr;
}

template <typename Traits>
void InputScan<Traits>::taskDispatch(Pelk::Publisher*, Pelk::Subscriber*,
                                     int16_t attributeId, void const*,
                                     void const*) noexcept {
   if (attributeId != Kolm::kTaskRun || !machine_->isActive()) {
      return;
   }
   Pelk::Ptr const root(machine_->root());
   Pelk::Ptr const machine(machine_);
   Pelk::Ptr const task(task_);
   scan();
}

template <typename Traits>
void InputScan<Traits>::initializeTask() {
   if (machine_->synchronous()) {
      return;
   }
   auto const& control = machine_->root()->smControl();
   taskIs(control.taskScheduler(), control.taskPriority(), Traits::kTask);
}

template <typename Traits>
void InputScan<Traits>::restart() {
   if (!machine_->synchronous() && task_ && task_->taskWorkPending() != 0) {
      task_->scheduleTask();
   } else {
      scan();
   }
}

template <typename Traits>
void InputScan<Traits>::scan() {
   if (!machine_->initialized()) {
      return;
   }
   if (Traits::handler().enabled(TransitIntfTrace::kDetail)) [[unlikely]] {
      ScanTrace::begin(Traits::handler(), Traits::kFunction, isComplete(),
                       state_ == ScanState::interrupted, scanned());
   }
   if (isComplete()) {
      return;
   }
   Pelk::Impl::vfmassert(static_cast<bool>(machine_->en()), TransitIntfTrace::kFile,
                         __LINE__, Traits::kFunction,
                         "en() && \"Sm args can only be null if marked as Optional "
                         "in the SM type declaration\"");
   if (slice()) {
      finish();
   }
}

template <typename Traits>
bool InputScan<Traits>::scanned() const {
   return Traits::scanned(*machine_->root()->inputSmScanState());
}

// With the member's value where the scan's handler takes it.
template <typename Traits, typename Value>
bool handleItem(typename Traits::Machine& machine, typename Traits::Bookmark const& key,
                Value const& value) {
   if constexpr (requires { Traits::item(machine, key, value); }) {
      return Traits::item(machine, key, value);
   } else {
      return Traits::item(machine, key);
   }
}

template <typename Traits>
bool InputScan<Traits>::isRepetition() const {
   if constexpr (requires { Traits::isRepetition(*machine_); }) {
      return Traits::isRepetition(*machine_);
   } else {
      return false;
   }
}

template <typename Traits>
bool InputScan<Traits>::slice() {
   if constexpr (requires { Traits::single(*machine_); }) {
      Traits::single(*machine_);
      return true;
   } else {
      Bookmark const from = bookmark_;
      auto const& collection = Traits::collection(*machine_);
      if ((!task_ || machine_->inReactor()) && isRepetition()) {
         return true; // nobody else runs before the end, and no item does anything
      }
      auto const walked = walkSlice(
         collection, state_ == ScanState::interrupted ? &from : nullptr,
         [this](Bookmark const& key, auto const& value) {
            return isRepetition() || handleItem<Traits>(*machine_, key, value);
         },
         [this] { return shouldYield(); });
      if (!walked.next) {
         return true;
      }
      uint64_t const total = collection.size();
      ScanTrace::yielding(Traits::handler(), Traits::kFunction, Traits::kUnit,
                          walked.items, total);
      state_ = ScanState::interrupted;
      bookmark_ = *walked.next;
      if (task_) {
         task_->taskWorkCountInc(walked.items, 0);
         task_->taskWorkPendingIs(total);
         task_->scheduleTask();
      }
      Traits::versionStore(*machine_);
      return false;
   }
}

// The pass is over. When the flag's publish returns, the second pass may be over as
// well, and the task gone.
template <typename Traits>
void InputScan<Traits>::finish() {
   auto& root = *machine_->root();
   Traits::versionStore(*machine_);
   bool const initial = !root.initialScanDone();
   if (initial) {
      state_ = ScanState::initialComplete;
   } else {
      state_ = ScanState::complete;
      taskDel();
   }
   if (!scanned()) {
      Traits::scannedIs(*root.inputSmScanState());
   } else if (!initial && root.idle()) {
      // The flags will not change any more, so nobody else would tell the outputs.
      root.handleInputReady();
   }
   ScanTrace::complete(Traits::handler(), Traits::kFunction, initial);
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
