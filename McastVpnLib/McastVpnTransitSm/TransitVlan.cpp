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

// A VLAN that is and stays a transit VLAN, and whose interface gets just an address:
// what an evaluation comes to then. False, and nothing done, if there is more to do or
// to say.
bool TransitSm::refreshTransitIntf(L3::VrfName const& transitVrf,
                                   TransitVrfWalk::Found const& found) {
   if (found.joins == nullptr || found.intf == nullptr || TransitTrace::isOn() ||
       !joinsEnabled()) {
      return false;
   }
   Bridging::VlanId const vlanId(static_cast<uint16_t>(found.sbdVlan));
   if (!isTransitVlan(vlanId, &transitVrf) || !isJoined(*found.joins) ||
       mlagStatus_->mlagState() == Mlag::MlagState::withheld) {
      return false;
   }
   if (found.intf->subscribers() != 0) {
      return false; // whoever is told may change the rest
   }
   found.intf->ipAddrIs(vtepAddr());
   return true;
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
   auto const* const joins = membershipJoinStatus_->vlan().find(vlanId);
   if (joins == nullptr || !isJoined(*joins->value())) {
      auto const any = Lidra::IpGenAddr::ipGenAddrZero(af_);
      membershipJoinStatus_->vlanIs(vlanId)->groupIs(any)->sourceIs(any)->includeIntfIs(
         nullIntf());
   }
}

bool TransitSm::isJoined(Gmp::VlanMembershipJoin const& joins) const {
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(af_);
   auto const* const group = joins.group().find(any);
   auto const* const source =
      group != nullptr ? group->value()->source().find(any) : nullptr;
   return source != nullptr && source->value()->includeIntf().contains(nullIntf());
}

} // namespace Irb::Multicast::Evpn
