#pragma once

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconciler.h"
#include "McastVpnLib/TransitIntfSm/outputs/ReconcileTrace.h"

// How OutputReconciler works. Included where an output's reconciler is instantiated.
namespace Irb::Multicast::Evpn {

// One call of the handler: what it has done so far, and the yield test.
template <typename Traits>
struct OutputReconciler<Traits>::Run {
   OutputReconciler& reconciler;
   uint64_t items = 0;
   uint64_t deletions = 0;

   // Whether the scan is to stop in front of the entry; if so, sees to it that it goes
   // on from there.
   bool yieldAt(Key const& key) {
      auto& self = reconciler;
      if (!self.task_ || items == 0 || self.sm_->synchronous() ||
          (self.task_->taskCurrentlyRunning() && !self.task_->taskShouldYield())) {
         return false;
      }
      self.bookmark_ = key;
      self.useBookmark_ = true;
      ReconcileTrace::yielding(Traits::kHandler, items, deletions);
      self.task_->taskWorkCountInc(items, 0);
      self.task_->scheduleTask();
      return true;
   }

   // An entry of the entity: erase() removes it.
   template <typename Erase>
   void leaf(Key const& key, Erase erase) {
      if (!reconciler.sink_->seen().has(key)) {
         ++deletions;
         erase();
      }
      ++items;
   }
};

template <typename Traits>
Pelk::Ptr<Kolm::Task> const&
OutputReconciler<Traits>::taskIs(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                 Kolm::TaskPriority priority,
                                 Pelk::String const& name) {
   if (task_) {
      task_->taskPriorityIs(priority);
      if (task_->taskScheduler() == scheduler && task_->taskName() == name) {
         return task_;
      }
   }
   task_ = Pelk::makePtr<Kolm::Task>(scheduler, priority, name);
   subscription_.sourceIs(task_);
   return task_;
}

template <typename Traits>
void OutputReconciler<Traits>::taskDel() {
   subscription_.sourceIs(nullptr);
   task_ = nullptr;
}

template <typename Traits>
void OutputReconciler<Traits>::taskDispatch(Pelk::Publisher*, Pelk::Subscriber*,
                                            int16_t attributeId, void const*,
                                            void const*) noexcept {
   if (attributeId != Kolm::kTaskRun || sm_->isBeingDeleted()) {
      return;
   }
   Pelk::Ptr const machine(sm_);
   Pelk::Ptr const task(task_);
   inputReady();
}

template <typename Traits>
void OutputReconciler<Traits>::start() {
   sink_->reconcilingIs(true);
   sink_->stateIs(kSkipBoth);
   ReconcileTrace::reconciling(Traits::kName, sink_->reconciling());
   if (!sm_->synchronous()) {
      taskIs(sm_->smControl().taskScheduler(), sm_->smControl().taskPriority(),
             Traits::kTask);
   }
}

template <typename Traits>
void OutputReconciler<Traits>::inputReady() {
   if (!sm_->initialized()) {
      return;
   }
   ReconcileTrace::entry(Traits::kHandler);
   if (sm_->outputState() && Traits::ready(*sm_->outputState())) {
      ReconcileTrace::alreadyReady(Traits::kHandler);
      return;
   }
   if (!sm_->inputScansComplete()) {
      return;
   }
   if (!sm_->initialScanDone()) {
      sm_->handleInitialScanDone();
      return;
   }
   if (running_) {
      // Whoever was notified of an entry caused this; the call further out goes on.
      return;
   }
   ReconcileTrace::inputScansComplete(Traits::kHandler, Traits::kName);
   running_ = true;
   bool const done = !sink_->reconciling() || reconcile();
   running_ = false;
   if (done) {
      finish();
   }
}

template <typename Traits>
bool OutputReconciler<Traits>::reconcile() {
   Run run{*this};
   if (sink_->state() == kSkipBoth) {
      ReconcileTrace::skipDeletions(Traits::kHandler, Traits::kName);
      sink_->stateIs(kSkipDeletions);
      useBookmark_ = false;
   }
   if (sink_->state() != kSkipNothing) {
      if (!insertionScan(run)) {
         return false;
      }
      ReconcileTrace::insertionScanDone(Traits::kHandler, run.items,
                                        sink_->seen().map().size());
      bookmarkReset();
      ReconcileTrace::skipNothing(Traits::kHandler, Traits::kName);
      sink_->stateIs(kSkipNothing);
   }
   if (!sm_->outputsAreFresh() && !deletionScan(run)) {
      return false;
   }
   ReconcileTrace::deletionScanDone(Traits::kHandler, run.items, run.deletions);
   if (task_) {
      task_->taskWorkCountInc(run.items, 0);
      taskDel();
   }
   bookmarkReset();
   return true;
}

template <typename Traits>
bool OutputReconciler<Traits>::insertionScan(Run& run) {
   static constexpr bool kNever = false;
   auto const& seen = sink_->seen().map();
   if constexpr (requires { Traits::reserve(*sm_, seen.size()); }) {
      Traits::reserve(*sm_, seen.size());
   }
   auto entry = useBookmark_ ? seen.iterate(bookmark_) : seen.iterate();
   for (; entry; ++entry) {
      // Copies: the entry may change, or go, before the write is done.
      Key const key = entry.key();
      Value const value = entry.value();
      if (run.yieldAt(key)) {
         return false;
      }
      Traits::insert(*sm_, Traits::kHandler, key, value, kNever);
      ++run.items;
   }
   return true;
}

template <typename Traits>
bool OutputReconciler<Traits>::deletionScan(Run& run) {
   Key const from = bookmark_;
   return Traits::walk(*sm_, useBookmark_ ? &from : nullptr, run);
}

template <typename Traits>
void OutputReconciler<Traits>::finish() {
   sink_->reconcilingIs(false);
   sink_->stateIs(kSkipNothing);
   sink_->seen().delAll();
   if (auto const state = sm_->outputState()) {
      Traits::readyIs(*state);
   }
}

template <typename Traits>
void OutputReconciler<Traits>::bookmarkReset() {
   bookmark_ = Key();
   useBookmark_ = false;
}

} // namespace Irb::Multicast::Evpn
