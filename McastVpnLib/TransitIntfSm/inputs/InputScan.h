#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/InputSmScanState.h"
#include "McastVpnLib/TransitIntfSm/inputs/ScanWalk.h"
#include "kolm/Task.h"
#include "kolm/TaskPriority.h"
#include "kolm/TaskScheduler.h"
#include "pelk/String.h"
#include "pelk/Subscription.h"
#include "pelk/Trace.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// The bookmark of a scan that is over in one step.
struct NoBookmark {};

// THE input scan: hands every member of an input to its machine's handler, twice in a
// cold start. The first pass, in which the streams are still closed, is over when the
// scan sets its stream's flag in the InputSmScanState; once all five flags are set the
// parent starts the second pass, which ends in the state that counts as complete.
//
// A scan runs in slices, the first of each pass in the caller. After each item it asks
// its task whether to yield; then it keeps the next member's key as a bookmark and
// schedules the task. Without a task (in a synchronous machine, or once the scan is
// complete) and inside a reactor it runs to the end.
//
// What differs between the scans is in Traits:
//
//    Machine, Bookmark            the machine, and the key of the collection
//    kFunction, kUnit, kTask      in traces, and the task's name
//    handler()                    the machine's trace handler
//    scanned(state), scannedIs(state)   the stream's flag
//    versionStore(machine)        refreshes the machine's version of the input
//    collection(machine)          what is scanned, and
//    item(machine, key)           its handler, which may take the member's value as
//                                 well; false if the member is not done with;
//    single(machine)              in place of both, for an input of one value
//    isRepetition(machine)        whether an item now would change and trace nothing;
//                                 not in all
//
// Event thread only. Who calls holds a use of the parent and of the machine.
template <typename Traits>
class MCASTVPNLIB_EXPORT InputScan {
 public:
   using Machine = typename Traits::Machine;
   using Bookmark = typename Traits::Bookmark;

   explicit InputScan(Machine* machine) noexcept
      : machine_(machine),
        subscription_(TaskSubscription::template of<&InputScan::taskDispatch>(this)) {}

   ScanState state() const noexcept { return state_; }
   Bookmark const& bookmark() const noexcept { return bookmark_; }
   Pelk::Ptr<Kolm::Task> const& task() const noexcept { return task_; }

   // Whether the current slice has used its share; false without a task and in a
   // reactor.
   bool shouldYield() const;
   // Whether the caller is inside a slice of the task.
   bool inTask() const;
   // Whether there is nothing to be done before the parent goes on.
   bool isComplete() const;

   // Keeps a task of the same scheduler, priority and name; else makes one in its
   // place, and does the first slice.
   Pelk::Ptr<Kolm::Task> const& taskIs(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                       Kolm::TaskPriority priority,
                                       Pelk::String const& name);
   void taskDel();
   // The task's callback.
   void taskDispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                     int16_t attributeId, void const* key, void const* value) noexcept;

   // Start-up: makes the task unless the parent is synchronous.
   void initializeTask();
   // A pass begins: in its task if work is pending there, else here.
   void restart();
   // One slice.
   void scan();

 private:
   using TaskSubscription = Pelk::Subscription<InputScan, Kolm::Task>;

   bool scanned() const;
   bool isRepetition() const;
   // True if the pass came to its end.
   bool slice();
   void finish();

   Machine* machine_;
   ScanState state_ = ScanState::notStarted;
   [[no_unique_address]] Bookmark bookmark_;
   Pelk::Ptr<Kolm::Task> task_;
   TaskSubscription subscription_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
