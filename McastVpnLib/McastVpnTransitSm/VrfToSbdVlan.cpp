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
   auto const mappedVlan = [this](L3::VrfName const& name) {
      auto const status = vxlanStatus();
      return status ? status->vrfToSBDVlan(name) : Bridging::VlanIdOrNone();
   };
   auto newVlan = mappedVlan(vrf);
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
      if (auto const recorded = sbdVlanToVrf(oldVlanId)) {
         for (auto entry = recorded->vrf().iterate(); entry; ++entry) {
            auto const member = entry.key();
            if (mappedVlan(member) != oldVlan) {
               recorded->vrfDel(member);
            }
         }
         if (recorded->vrf().empty()) {
            sbdVlanToVrfDel(oldVlanId);
         }
      }
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

void TransitSm::handleTransitVrf(L3::VrfName const& vrf) {
   TRANSIT_TRACE(8, "handleTransitVrf( %s ), vrf: %s", af_, vrf);
   auto const recorded = vrfToSbdVlan(vrf);
   if (!recorded.isNone()) {
      handleTransitVlan(Bridging::VlanId(recorded.value()));
   }
}

void TransitSm::zin_handleMcastEvpnConfig_transitVrf(L3::VrfName const& vrf) {
   handleTransitVrf(vrf);
}

} // namespace Irb::Multicast::Evpn
