#include "vxlan/VtiStatus.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Vxlan {

namespace {

constexpr std::array kAttributes = {
   Zin::keyAttribute<VtiStatus>("intfId", VtiStatus::kIntfId,
                                [](auto const& status) { return status.intfId(); }),
   Zin::valueAttribute<VtiStatus>(
      "localVtepAddr", VtiStatus::kLocalVtepAddr,
      [](auto const& status) { return status.localVtepAddr(); },
      [](auto& status, Lidra::IpAddr addr) { status.localVtepAddrIs(addr); }),
   Zin::valueAttribute<VtiStatus>(
      "mlagVtepAddr", VtiStatus::kMlagVtepAddr,
      [](auto const& status) { return status.mlagVtepAddr(); },
      [](auto& status, Lidra::IpAddr addr) { status.mlagVtepAddrIs(addr); }),
   Zin::mapAttribute<VtiStatus>(
      "vrfToSBDVlan", VtiStatus::kVrfToSBDVlan,
      [](auto const& status) -> auto& { return status.vrfToSBDVlan(); },
      [](auto& status, L3::VrfName const& vrf, Bridging::VlanIdOrNone vlanId) {
         status.vrfToSBDVlanIs(vrf, vlanId);
      },
      [](auto& status, L3::VrfName const& vrf) { status.vrfToSBDVlanDel(vrf); }),
};
constexpr Zin::EntityType kType{"Vxlan::VtiStatus", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void VtiStatus::localVtepAddrIs(Lidra::IpAddr addr) {
   Zin::attributeIs(*this, kLocalVtepAddr, localVtepAddr_, addr);
}

void VtiStatus::mlagVtepAddrIs(Lidra::IpAddr addr) {
   Zin::attributeIs(*this, kMlagVtepAddr, mlagVtepAddr_, addr);
}

void VtiStatus::vrfToSBDVlanIs(L3::VrfName const& vrf, Bridging::VlanIdOrNone vlanId) {
   Zin::memberValueIs(*this, kVrfToSBDVlan, vrfToSBDVlan_, vrf, vlanId);
}

void VtiStatus::vrfToSBDVlanDel(L3::VrfName const& vrf) {
   Zin::memberDel(*this, kVrfToSBDVlan, vrfToSBDVlan_, vrf);
}

void VtiStatus::vrfToSBDVlanDelAll() {
   Zin::memberDelAll(*this, kVrfToSBDVlan, vrfToSBDVlan_);
}

Zin::EntityType const& VtiStatus::type() noexcept {
   return kType;
}

} // namespace Vxlan
