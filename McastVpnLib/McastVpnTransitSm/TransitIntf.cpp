#include "McastVpnLib/McastVpnTransitSm/TransitIntf.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Evpn {

namespace {

constexpr std::array kAttributes = {
   Zin::keyAttribute<TransitIntf>("intfId", TransitIntf::kIntfId,
                                  [](auto const& intf) { return intf.intfId(); }),
   Zin::valueAttribute<TransitIntf>(
      "ipAddr", TransitIntf::kIpAddr, [](auto const& intf) { return intf.ipAddr(); },
      [](auto& intf, Lidra::IpGenAddr const& ipAddr) { intf.ipAddrIs(ipAddr); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Evpn::TransitIntf", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void TransitIntf::ipAddrIs(Lidra::IpGenAddr const& ipAddr) {
   Zin::attributeIs(*this, kIpAddr, ipAddr_, ipAddr);
}

Zin::EntityType const& TransitIntf::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Evpn
