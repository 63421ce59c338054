#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/Root.h"
#include "McastVpnLib/TransitIntfSm/outputs/SeenTable.h"

#include <cstdint>

namespace Irb::Multicast::Evpn {

// What an output holds back from its entity while it is reconciled: a set of bits.
// Frozen.
inline constexpr uint8_t kSkipNothing = 0;
inline constexpr uint8_t kSkipInsertions = 1;
inline constexpr uint8_t kSkipDeletions = 2;
inline constexpr uint8_t kSkipBoth = kSkipInsertions | kSkipDeletions;

// THE sink: the end of the pipeline, where a key (and its value) comes into an output
// entity or goes from it. What differs between the outputs is in Traits:
//
//    Key, Value, SeenName   the types of the Seen table
//    insert(sm, function, key, value, overtaken), remove(sm, function, key)
//                           trace as the function named, and write the entity
//
// and what the reconciler asks for (OutputReconciler.h).
//
// While the output is reconciled, what passes is kept in the Seen table, and the state
// says what is held back from the entity: from 3 (both) over 2 (deletions) to 0.
// Nothing passes once the machine is being deleted. Event thread only.
template <typename Traits>
class MCASTVPNLIB_EXPORT OutputSink {
 public:
   using Key = typename Traits::Key;
   using Value = typename Traits::Value;
   using Seen = SeenTable<typename Traits::SeenName, Key, Value>;

   explicit OutputSink(TransitIntfSm* sm) noexcept : sm_(sm) {}

   bool reconciling() const noexcept { return reconciling_; }
   void reconcilingIs(bool reconciling) noexcept { reconciling_ = reconciling; }
   uint8_t state() const noexcept { return state_; }
   // Nothing comes through to the entity.
   bool heldBack() const noexcept { return reconciling_ && state_ == kSkipBoth; }
   void stateIs(uint8_t state) noexcept { state_ = state; }

   Seen const& seen() const noexcept { return seen_; }
   Seen& seen() noexcept { return seen_; }

   // The write is given up where the flag comes up meanwhile: whoever was notified of
   // the first part of it made a younger decision, which is written already.
   void insert(Key const& key, Value const& value, bool const& overtaken) {
      if (FlumaCode::TransitIntfSm::rootIsBeingDeleted(*sm_)) {
         return;
      }
      if (reconciling_) {
         seen_.is(key, value);
         if ((state_ & kSkipInsertions) != 0) {
            return;
         }
      }
      Traits::insert(*sm_, kStreamFunction, key, value, overtaken);
   }

   void remove(Key const& key) {
      if (FlumaCode::TransitIntfSm::rootIsBeingDeleted(*sm_)) {
         return;
      }
      if (reconciling_) {
         seen_.del(key);
         if ((state_ & kSkipDeletions) != 0) {
            return;
         }
      }
      Traits::remove(*sm_, kStreamFunction, key);
   }

 private:
   // The stream that ends in the sinks.
   static constexpr char const* kStreamFunction = "eventToTransitVlanStream";

   TransitIntfSm* sm_;
   bool reconciling_ = false;
   uint8_t state_ = kSkipNothing;
   Seen seen_;
};

} // namespace Irb::Multicast::Evpn
