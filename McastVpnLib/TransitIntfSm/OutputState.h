#pragma once

#include "McastVpnLib/Export.h"
#include "pelk/Entity.h"
#include "pelk/Ptr.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// Which of a dataflow machine's outputs were reconciled with what stood in them, and
// whether all were: from then on they are what the inputs make them. The machine sets
// the four flags; who waits for it to be ready subscribes here. Event thread only.
class MCASTVPNLIB_EXPORT OutputState final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kMembershipJoinStatusVlanGroupSourceIncludeIntfOutputReady =
      130;
   static constexpr int16_t kMembershipJoinStatusVlanGroupSourceExcludeIntfOutputReady =
      131;
   static constexpr int16_t kTransitIntfCollIntfOutputReady = 132;
   static constexpr int16_t kMembershipJoinStatusVlanRouterIntfOutputReady = 133;
   static constexpr int16_t kReady = 134;

   // Each says whether the output of that name was reconciled.
   bool membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady() const noexcept {
      return includeReady_;
   }
   bool membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady() const noexcept {
      return excludeReady_;
   }
   bool transitIntfCollIntfOutputReady() const noexcept { return transitReady_; }
   bool membershipJoinStatusVlanRouterIntfOutputReady() const noexcept {
      return routerReady_;
   }
   // Whether all four were.
   bool ready() const noexcept { return ready_; }

   // Each stores the flag, works out ready, and announces its own id, if the flag
   // changes; the change of ready is announced first.
   void membershipJoinStatusVlanGroupSourceIncludeIntfOutputReadyIs(bool ready);
   void membershipJoinStatusVlanGroupSourceExcludeIntfOutputReadyIs(bool ready);
   void transitIntfCollIntfOutputReadyIs(bool ready);
   void membershipJoinStatusVlanRouterIntfOutputReadyIs(bool ready);
   // Announces kReady if it changes.
   void readyIs(bool ready);

   // Sets ready to whether all four outputs are.
   void handleReady();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   void outputReadyIs(int16_t id, bool& flag, bool ready);

   bool includeReady_ = false;
   bool excludeReady_ = false;
   bool transitReady_ = false;
   bool routerReady_ = false;
   bool ready_ = false;
};

// Makes one with all flags false.
MCASTVPNLIB_EXPORT Pelk::Ptr<OutputState> outputStateFactory();

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
