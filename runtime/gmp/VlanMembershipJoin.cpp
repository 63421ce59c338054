#include "gmp/VlanMembershipJoin.h"

#include "pelk/SpareBlocks.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Gmp {

namespace {

constexpr std::array kAttributes = {
   Zin::keyAttribute<VlanMembershipJoin>(
      "vlanId", VlanMembershipJoin::kVlanId,
      [](auto const& join) { return join.vlanId(); }),
   Zin::setAttribute<VlanMembershipJoin>(
      "routerIntf", VlanMembershipJoin::kRouterIntf,
      [](auto const& join) -> auto& { return join.routerIntf(); },
      [](auto& join, Lidra::IntfId intfId) { join.routerIntfIs(intfId); },
      [](auto& join, Lidra::IntfId intfId) { join.routerIntfDel(intfId); }),
   Zin::childrenAttribute<VlanMembershipJoin, GroupMembershipJoin>(
      "group", VlanMembershipJoin::kGroup,
      [](auto const& join) -> auto& { return join.group(); },
      [](auto& join, Lidra::IpGenAddr const& group, Zin::InitialValues const&) {
         return join.groupIs(group);
      },
      [](auto& join, Lidra::IpGenAddr const& group) { join.groupDel(group); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Gmp::VlanMembershipJoin", kAttributes};
Zin::TypeRegistration const registration(kType);

constinit Pelk::SpareBlocks spareBlocks;

} // namespace

void* VlanMembershipJoin::operator new(size_t size) {
   return spareBlocks.allocate(size);
}

void VlanMembershipJoin::operator delete(void* memory) noexcept {
   spareBlocks.release(memory);
}

void VlanMembershipJoin::routerIntfIs(Lidra::IntfId intfId) {
   Zin::memberIs(*this, kRouterIntf, routerIntf_, intfId);
}

void VlanMembershipJoin::routerIntfDel(Lidra::IntfId intfId) {
   Zin::memberDel(*this, kRouterIntf, routerIntf_, intfId);
}

void VlanMembershipJoin::routerIntfDelAll() {
   Zin::memberDelAll(*this, kRouterIntf, routerIntf_);
}

Pelk::Ptr<GroupMembershipJoin>
VlanMembershipJoin::group(Lidra::IpGenAddr const& group) const {
   return Zin::child(group_, group);
}

Pelk::Ptr<GroupMembershipJoin>
VlanMembershipJoin::groupIs(Lidra::IpGenAddr const& group) {
   return Zin::childIs(*this, kGroup, group_, group);
}

void VlanMembershipJoin::groupDel(Lidra::IpGenAddr const& group) {
   Zin::memberDel(*this, kGroup, group_, group);
}

void VlanMembershipJoin::groupDelAll() {
   Zin::memberDelAll(*this, kGroup, group_);
}

Zin::EntityType const& VlanMembershipJoin::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Gmp
