#include "routing/PegVlanStatus.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Routing::Multicast {

namespace {

constexpr std::array kAttributes = {
   Zin::setAttribute<PegVlanStatus>(
      "pegVlan", PegVlanStatus::kPegVlan,
      [](auto const& status) -> auto& { return status.pegVlan(); },
      [](auto& status, Bridging::VlanId vlanId) { status.pegVlanIs(vlanId); },
      [](auto& status, Bridging::VlanId vlanId) { status.pegVlanDel(vlanId); }),
};
constexpr Zin::EntityType kType{"Routing::Multicast::PegVlanStatus", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void PegVlanStatus::pegVlanIs(Bridging::VlanId vlanId) {
   Zin::memberIs(*this, kPegVlan, pegVlan_, vlanId, PegVlan(vlanId));
}

void PegVlanStatus::pegVlanDel(Bridging::VlanId vlanId) {
   Zin::memberDel(*this, kPegVlan, pegVlan_, vlanId);
}

void PegVlanStatus::pegVlanDelAll() {
   Zin::memberDelAll(*this, kPegVlan, pegVlan_);
}

Zin::EntityType const& PegVlanStatus::type() noexcept {
   return kType;
}

} // namespace Routing::Multicast
