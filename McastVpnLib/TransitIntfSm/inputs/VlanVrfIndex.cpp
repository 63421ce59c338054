#include "McastVpnLib/TransitIntfSm/inputs/VlanVrfIndex.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

void VlanVrfIndex::add(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf) {
   if (!isVlan(vlanId)) {
      return;
   }
   auto& page = pages_[vlanId.value() / kPage];
   if (!page) {
      page = std::make_unique<Page>();
   }
   auto& vrfs = (*page)[vlanId.value() % kPage];
   if (!vrfs) {
      vrfs = std::make_unique<Vrfs>();
   }
   vrfs->insert(vrf);
}

void VlanVrfIndex::del(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf) {
   if (isVlan(vlanId)) {
      (*pages_[vlanId.value() / kPage])[vlanId.value() % kPage]->erase(vrf);
   }
}

VlanVrfIndex::Vrfs const* VlanVrfIndex::vrfs(Bridging::VlanId vlanId) const noexcept {
   auto const& page = pages_[vlanId.value() / kPage];
   return page ? (*page)[vlanId.value() % kPage].get() : nullptr;
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
