#include "McastVpnLib/TransitIntfSm/GroupBy.h"

#include "pelk/SpareBlocks.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Evpn {

namespace {

constexpr std::array kAttributes = {
   Zin::setAttribute<GroupByCollection>(
      "coll", GroupByCollection::kColl,
      [](auto const& group) -> auto& { return group.coll(); },
      [](auto& group, L3::VrfName const& vrf) { group.collIs(vrf); },
      [](auto& group, L3::VrfName const& vrf) { group.collDel(vrf); }),
};
constexpr Zin::EntityType kType{
   "Irb::Multicast::Evpn::TransitIntfSm::GroupByCollectionValueType0", kAttributes};
Zin::TypeRegistration const registration(kType);

constinit Pelk::SpareBlocks spareBlocks;

} // namespace

void* GroupByCollection::operator new(size_t size) {
   return spareBlocks.allocate(size);
}

void GroupByCollection::operator delete(void* memory) noexcept {
   spareBlocks.release(memory);
}

void GroupByCollection::collIs(L3::VrfName const& vrf) {
   Zin::memberIs(*this, kColl, coll_, vrf);
}

void GroupByCollection::collDel(L3::VrfName const& vrf) {
   Zin::memberDel(*this, kColl, coll_, vrf);
}

void GroupByCollection::collDelAll() {
   Zin::memberDelAll(*this, kColl, coll_);
}

Zin::EntityType const& GroupByCollection::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Evpn
