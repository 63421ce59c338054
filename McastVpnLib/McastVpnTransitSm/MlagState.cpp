#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "McastVpnLib/McastVpnTransitSm/TransitVrfWalk.h"

namespace Irb::Multicast::Evpn {

void TransitSm::handleMlagState() {
   if (af_ != Lidra::AddressFamily::ipv4) {
      return;
   }
   auto const state = mlagStatus_->mlagState();
   TRANSIT_TRACE(8, "handleMlagState: Mlag State: %s",
                 Dualo::differing(static_cast<uint32_t>(state), state));
   uint32_t const version = vrfToSbdVlan_.version();
   auto const vlanOf = [&](L3::VrfName const& vrf) {
      auto const* const entry = vrfToSbdVlan_.find(vrf);
      if (entry == nullptr || entry->value().isNone()) {
         return TransitVrfWalk::kNoVlan;
      }
      uint16_t const number = entry->value().value();
      if (number <= Bridging::VlanId::kMax) {
         if (auto const* const recorded = sbdVlanToVrf_.find(number)) {
            TransitVrfWalk::fetch(recorded->value().get());
         }
      }
      return uint32_t{number};
   };
   TransitVrfWalk(mcastEvpnConfig_->transitVrf(), membershipJoinStatus_->vlan(),
                  transitIntfColl_->intf())
      .each(vlanOf, [&](L3::VrfName const& vrf, TransitVrfWalk::Found const* found) {
         if (found == nullptr || vrfToSbdVlan_.version() != version ||
             !refreshTransitIntf(vrf, *found)) {
            evaluateVrf(vrf, true);
         }
      });
}

} // namespace Irb::Multicast::Evpn
