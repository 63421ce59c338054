#include "gmp/MembershipJoinStatus.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Gmp {

namespace {

constexpr std::array kAttributes = {
   Zin::childrenAttribute<MembershipJoinStatus, VlanMembershipJoin>(
      "vlan", MembershipJoinStatus::kVlan,
      [](auto const& join) -> auto& { return join.vlan(); },
      [](auto& join, Bridging::VlanId vlanId, Zin::InitialValues const&) {
         return join.vlanIs(vlanId);
      },
      [](auto& join, Bridging::VlanId vlanId) { join.vlanDel(vlanId); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Gmp::MembershipJoinStatus",
                                kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

Pelk::Ptr<VlanMembershipJoin>
MembershipJoinStatus::vlan(Bridging::VlanId vlanId) const {
   return Zin::child(vlan_, vlanId);
}

Pelk::Ptr<VlanMembershipJoin> MembershipJoinStatus::vlanIs(Bridging::VlanId vlanId) {
   return Zin::childIs(*this, kVlan, vlan_, vlanId);
}

void MembershipJoinStatus::vlanDel(Bridging::VlanId vlanId) {
   Zin::memberDel(*this, kVlan, vlan_, vlanId);
}

void MembershipJoinStatus::vlanDelAll() {
   Zin::memberDelAll(*this, kVlan, vlan_);
}

Zin::EntityType const& MembershipJoinStatus::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Gmp
