#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "lidra/IntfId.h"
#include "zin/Toggle.h"

namespace Irb::Multicast::Evpn {

namespace {

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
   uint32_t const dispatches = dispatches_;
   TRANSIT_TRACE(8, "handleTransitVlan( %s ), vlanId: %s", af_, vlanId);
   auto const status = vxlanStatus();
   auto const recorded = status ? sbdVlanToVrf(vlanId) : nullptr;
   bool enabled = false;
   if (recorded) {
      for (auto const& entry : recorded->vrf()) {
         auto const& vrf = entry.key();
         if (status->vrfToSBDVlan(vrf) == vlanId &&
             mcastEvpnConfig_->transitVrfHas(vrf)) {
            enabled = true;
            TRANSIT_TRACE(8, "Transit enabled Vrf: %s", vrf);
            break;
         }
      }
   }
   updateTransitIntf(vlanId, enabled);
   if (dispatches_ != dispatches) {
      // Who was notified changed an input: what this call wrote last may be the older
      // decision, half of it over the younger one.
      handleTransitVlan(vlanId);
   }
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
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(af_);
   membershipJoinStatus_->vlanIs(vlanId)->groupIs(any)->sourceIs(any)->includeIntfIs(
      nullIntf());
}

} // namespace Irb::Multicast::Evpn
