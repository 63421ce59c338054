#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Irb::Multicast::Evpn {

namespace {

// Counts a call while it runs.
class Running {
 public:
   explicit Running(uint32_t& calls) noexcept : calls_(calls) { ++calls_; }
   Running(Running const&) = delete;
   Running& operator=(Running const&) = delete;
   ~Running() { --calls_; }

 private:
   uint32_t& calls_;
};

} // namespace

void TransitSm::handleVrfToSBDVlan(L3::VrfName const& vrf) {
   TRANSIT_TRACE(8, "handleVrfToSBDVlan( %s ), vrf: %s", af_, vrf);
   Running const running(mappings_);
   auto newVlan = mappedVlanKept(vrf);
   auto const oldVlan = vrfToSbdVlan(vrf);
   // Inside another handler the same VLAN says little: that one may have met the VRF
   // while it was mapped elsewhere, and decided without it or pruned it, before who was
   // notified mapped it back.
   bool const isNested = mappings_ > 1 || guards_ > 1;
   if (oldVlan == newVlan && !oldVlan.isNone() && !isNested) {
      return;
   }
   if (oldVlan != newVlan && !oldVlan.isNone()) {
      Bridging::VlanId const oldVlanId(oldVlan.value());
      // While the VRF still stands in the old VLAN's set: the mapping of now decides
      // there, so the VLAN keeps its interface only through another VRF.
      handleTransitVlan(oldVlanId);
      prune(oldVlanId);
      // Who was notified of the old VLAN's end may have mapped the VRF elsewhere.
      newVlan = mappedVlan(vrf);
   }
   if (newVlan.isNone()) {
      vrfToSbdVlanDel(vrf);
      return;
   }
   vrfToSbdVlanIs(vrf, newVlan);
   Bridging::VlanId const newVlanId(newVlan.value());
   sbdVlanToVrfIs(newVlanId)->vrfIs(vrf);
   handleTransitVlan(newVlanId);
}

Bridging::VlanIdOrNone TransitSm::mappedVlan(L3::VrfName const& vrf) const {
   auto const* const status = vxlanStatus();
   if (status == nullptr) {
      return {};
   }
   bool const isLast = lastMapping_.version == status->vrfToSBDVlan().version() &&
                       lastMapping_.vrf == vrf;
   return isLast ? lastMapping_.vlanId : status->vrfToSBDVlan(vrf);
}

Bridging::VlanIdOrNone TransitSm::mappedVlanKept(L3::VrfName const& vrf) {
   auto const vlanId = mappedVlan(vrf);
   if (auto const* const status = vxlanStatus()) {
      lastMapping_ = {status->vrfToSBDVlan().version(), vlanId, vrf};
   }
   return vlanId;
}

void TransitSm::prune(Bridging::VlanId vlanId) {
   auto const recorded = sbdVlanToVrf(vlanId);
   if (!recorded) {
      return;
   }
   for (auto entry = recorded->vrf().iterate(); entry; ++entry) {
      auto const member = entry.key();
      if (mappedVlan(member) != vlanId) {
         recorded->vrfDel(member);
      }
   }
   if (recorded->vrf().empty()) {
      sbdVlanToVrfDel(vlanId);
   }
}

void TransitSm::handleTransitVrf(L3::VrfName const& vrf) {
   evaluateVrf(vrf, false);
}

void TransitSm::evaluateVrf(L3::VrfName const& vrf, bool isTransitVrf) {
   TRANSIT_TRACE_AS(8, "handleTransitVrf", "handleTransitVrf( %s ), vrf: %s", af_, vrf);
   if (auto const* const entry = vrfToSbdVlan_.find(vrf);
       entry != nullptr && !entry->value().isNone()) {
      evaluateVlan(Bridging::VlanId(entry->value().value()),
                   isTransitVrf ? &vrf : nullptr);
   }
}

void TransitSm::zin_handleMcastEvpnConfig_transitVrf(L3::VrfName const& vrf) {
   handleTransitVrf(vrf);
}

} // namespace Irb::Multicast::Evpn
