#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputSink.h"
#include "kolm/Task.h"
#include "kolm/TaskPriority.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Ptr.h"
#include "pelk/String.h"
#include "pelk/Subscription.h"

#include <cstdint>

namespace Irb::Multicast::Evpn {

// THE reconciliation: brings an output that may hold entries of an earlier life in line
// with the inputs, without taking away what is right. Once all inputs were scanned
// twice, the sink's Seen table holds what has to be there. Then
//
//    state 3  the sink holds everything back, and only fills its table
//    state 2  the insertion scan writes every seen entry; deletions are held back
//    state 0  the deletion scan removes every entry that was not seen
//
// and the output is ready. A scan that runs beyond its task's share stores a bookmark,
// schedules the task and goes on from there; outside of its task it does one item.
// Reports its items to the task. Whatever the output's subscribers change meanwhile
// passes through the sink and is in the table before the scan comes to it.
//
// What differs between the outputs is in Traits, beside what the sink asks for:
//
//    kName, kHandler, kTask         the output, its input-ready handler, its task
//    ready(state), readyIs(state)   its flag in the OutputState
//    walk(sm, bookmark, visitor)    visits every entry of the entity from the bookmark
//                                   (null: from the start): visitor.yieldAt(key), which
//                                   ends the walk if true, and visitor.leaf(key, erase)
//    reserve(sm, entries)           makes room in the entity; not in all
//
// Event thread only.
template <typename Traits>
class MCASTVPNLIB_EXPORT OutputReconciler {
 public:
   using Key = typename Traits::Key;
   using Value = typename Traits::Value;

   OutputReconciler(TransitIntfSm* sm, OutputSink<Traits>* sink) noexcept
      : sm_(sm), sink_(sink),
        subscription_(
           TaskSubscription::template of<&OutputReconciler::taskDispatch>(this)) {}

   Pelk::Ptr<Kolm::Task> const& task() const noexcept { return task_; }
   // Keeps a task of the same scheduler and name, with the new priority; else makes
   // one in its place and follows it.
   Pelk::Ptr<Kolm::Task> const& taskIs(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                       Kolm::TaskPriority priority,
                                       Pelk::String const& name);
   void taskDel();
   // The task's callback: continues in the handler.
   void taskDispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                     int16_t attributeId, void const* key, void const* value) noexcept;

   Key const& bookmark() const noexcept { return bookmark_; }
   bool useBookmark() const noexcept { return useBookmark_; }

   // Start-up: begins in state 3, with a task unless the machine is synchronous.
   void start();
   // The input-ready handler. Does what can be done now: nothing before the scans are
   // complete. May be called at any time, also from inside itself.
   void inputReady();

 private:
   using TaskSubscription = Pelk::Subscription<OutputReconciler, Kolm::Task>;
   struct Run;

   // Each false if it stopped midway.
   bool reconcile();
   bool insertionScan(Run& run);
   bool deletionScan(Run& run);
   void finish();
   void bookmarkReset();

   TransitIntfSm* sm_;
   OutputSink<Traits>* sink_;
   Pelk::Ptr<Kolm::Task> task_;
   TaskSubscription subscription_;
   Key bookmark_;
   bool useBookmark_ = false;
   bool running_ = false;
};

} // namespace Irb::Multicast::Evpn
