#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "lidra/IntfId.h"
#include "zin/Toggle.h"

namespace Irb::Multicast::Evpn {

namespace {

constexpr char const* kHandleTransitVlan = "handleTransitVlan";

// Whether joins are written. Read once a process, on first use.
bool joinsEnabled() {
   static bool const enabled =
      Zin::getToggleState("McastVpnTransitMlag", "McastVpnLib.json", true);
   return enabled;
}

// The interface of the wildcard joins: it forwards nothing itself, and makes the
// group-membership layer forward on the VLAN.
Lidra::IntfId nullIntf() {
   static Lidra::IntfId const intfId("Null0");
   return intfId;
}

} // namespace

void TransitSm::handleTransitVlan(Bridging::VlanId vlanId) {
   evaluateVlan(vlanId, nullptr);
}

void TransitSm::evaluateVlan(Bridging::VlanId vlanId, L3::VrfName const* transitVrf) {
   uint32_t const dispatches = dispatches_;
   TRANSIT_TRACE_AS(8, kHandleTransitVlan, "handleTransitVlan( %s ), vlanId: %s", af_,
                    vlanId);
   updateTransitIntf(vlanId, isTransitVlan(vlanId, transitVrf));
   if (dispatches_ != dispatches) {
      // Who was notified changed an input: what this call wrote last may be the older
      // decision, half of it over the younger one.
      handleTransitVlan(vlanId);
   }
}

bool TransitSm::isTransitVlan(Bridging::VlanId vlanId,
                              L3::VrfName const* transitVrf) const {
   auto const* const recorded =
      vxlanStatus() != nullptr ? sbdVlanToVrf_.find(vlanId) : nullptr;
   if (recorded == nullptr) {
      return false;
   }
   for (auto const& entry : recorded->value()->vrf()) {
      auto const& vrf = entry.key();
      if (mappedVlan(vrf) == vlanId && ((transitVrf != nullptr && *transitVrf == vrf) ||
                                        mcastEvpnConfig_->transitVrfHas(vrf))) {
         TRANSIT_TRACE_AS(8, kHandleTransitVlan, "Transit enabled Vrf: %s", vrf);
         return true;
      }
   }
   return false;
}

void TransitSm::updateTransitIntf(Bridging::VlanId vlanId, bool enabled) {
   if (af_ != Lidra::AddressFamily::ipv4) {
      return;
   }
   auto const intfId = Lidra::VlanIntfId::vlanIdToIntfId(vlanId);
   if (!enabled) {
      TRANSIT_TRACE(4, "updateTransitIntf( %s ), delete transit intf: %s", af_, intfId);
      transitIntfColl_->intfDel(intfId);
      if (joinsEnabled()) {
         membershipJoinStatus_->vlanDel(vlanId);
      }
      return;
   }
   if (mlagStatus_->mlagState() != Mlag::MlagState::withheld) {
      TRANSIT_TRACE(4, "updateTransitIntf( %s ), create transit intf: %s", af_, intfId);
      transitIntfColl_->intfIs(intfId, vtepAddr());
   } else {
      transitIntfColl_->intfDel(intfId);
   }
   if (!joinsEnabled()) {
      return;
   }
   TRANSIT_TRACE(
      4, "updateTransitIntf: Adding (%s, *, * ) to transit membershipJoinStatus",
      vlanId);
   if (!isJoined(vlanId)) {
      auto const any = Lidra::IpGenAddr::ipGenAddrZero(af_);
      membershipJoinStatus_->vlanIs(vlanId)->groupIs(any)->sourceIs(any)->includeIntfIs(
         nullIntf());
   }
}

bool TransitSm::isJoined(Bridging::VlanId vlanId) const {
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(af_);
   auto const* const vlan = membershipJoinStatus_->vlan().find(vlanId);
   auto const* const group =
      vlan != nullptr ? vlan->value()->group().find(any) : nullptr;
   auto const* const source =
      group != nullptr ? group->value()->source().find(any) : nullptr;
   return source != nullptr && source->value()->includeIntf().contains(nullIntf());
}

} // namespace Irb::Multicast::Evpn
