#include "McastVpnLib/TransitIntfSm/inputs/VlanVrfIndex.h"

#include "zin/HashKey.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

auto VlanVrfIndex::vrfsIs(Bridging::VlanIdOrNone vlanId) -> Vrfs& {
   auto& page = pages_[vlanId.value() / kPage];
   if (!page) {
      page = std::make_unique<Page>();
   }
   return (*page)[vlanId.value() % kPage];
}

uint32_t VlanVrfIndex::position(L3::VrfName const& vrf) const {
   return Zin::hashKey(seed_, vrf);
}

void VlanVrfIndex::add(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf) {
   if (!isVlan(vlanId)) {
      return;
   }
   if (count_ == 0) {
      seed_ = map_.orderSeed();
   }
   auto& vrfs = vrfsIs(vlanId);
   if (vrfs.count == 0) {
      vrfs.only = vrf;
      ++vlans_;
   } else {
      if (vrfs.positions.empty()) {
         vrfs.positions.insert(position(vrfs.only));
         vrfs.only = {};
      }
      vrfs.positions.insert(position(vrf));
   }
   ++vrfs.count;
   ++count_;
}

void VlanVrfIndex::del(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf) {
   if (!isVlan(vlanId)) {
      return;
   }
   auto& vrfs = vrfsIs(vlanId);
   if (vrfs.positions.empty()) {
      vrfs.only = {};
   } else {
      vrfs.positions.erase(position(vrf));
   }
   --vrfs.count;
   --count_;
   vlans_ -= vrfs.count == 0 ? 1 : 0;
}

bool VlanVrfIndex::isBehind(L3::VrfName const& vrf,
                            Zin::Optional<L3::VrfName> const& last) const {
   if (!last) {
      return true;
   }
   if (vrf == *last) {
      return false;
   }
   uint32_t const at = position(vrf);
   uint32_t const lastAt = position(*last);
   return at != lastAt ? at > lastAt : *last < vrf;
}

Zin::Optional<L3::VrfName>
VlanVrfIndex::vrfAfter(Bridging::VlanId vlanId,
                       Zin::Optional<L3::VrfName> const& last) const {
   auto const& page = pages_[vlanId.value() / kPage];
   auto const* const vrfs = page ? &(*page)[vlanId.value() % kPage] : nullptr;
   if (vrfs == nullptr || vrfs->count == 0) {
      return std::nullopt;
   }
   if (vrfs->positions.empty()) {
      return isBehind(vrfs->only, last) ? Zin::Optional(vrfs->only) : std::nullopt;
   }
   uint64_t from = last ? position(*last) : 0;
   while (auto const at = vrfs->positions.firstFrom(from)) {
      for (auto member = map_.iterateFromHash(*at);
           member && position(member.key()) == *at; ++member) {
         if (member.value().value() == vlanId.value() && isBehind(member.key(), last)) {
            return member.key();
         }
      }
      from = uint64_t{*at} + 1;
   }
   return std::nullopt;
}

bool VlanVrfIndex::isInOrder() const noexcept {
   return count_ == 0 || static_cast<uint32_t>(seed_) == map_.orderSeed();
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
