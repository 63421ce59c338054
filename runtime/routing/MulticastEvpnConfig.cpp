#include "routing/MulticastEvpnConfig.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Routing::Multicast::Evpn {

namespace {

constexpr std::array kAttributes = {
   Zin::setAttribute<Config>(
      "transitVrf", Config::kTransitVrf,
      [](auto const& config) -> auto& { return config.transitVrf(); },
      [](auto& config, L3::VrfName const& vrf) { config.transitVrfIs(vrf); },
      [](auto& config, L3::VrfName const& vrf) { config.transitVrfDel(vrf); }),
};
constexpr Zin::EntityType kType{"Routing::Multicast::Evpn::Config", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void Config::transitVrfIs(L3::VrfName const& vrf) {
   Zin::memberIs(*this, kTransitVrf, transitVrf_, vrf);
}

void Config::transitVrfDel(L3::VrfName const& vrf) {
   Zin::memberDel(*this, kTransitVrf, transitVrf_, vrf);
}

void Config::transitVrfDelAll() {
   Zin::memberDelAll(*this, kTransitVrf, transitVrf_);
}

Zin::EntityType const& Config::type() noexcept {
   return kType;
}

} // namespace Routing::Multicast::Evpn
