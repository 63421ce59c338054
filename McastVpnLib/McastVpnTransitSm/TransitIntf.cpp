#include "McastVpnLib/McastVpnTransitSm/TransitIntf.h"

#include "pelk/SpareBlocks.h"
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

constinit Pelk::SpareBlocks spareBlocks;

} // namespace

void* TransitIntf::operator new(size_t size) {
   return spareBlocks.allocate(size);
}

void TransitIntf::operator delete(void* memory) noexcept {
   spareBlocks.release(memory);
}

void TransitIntf::ipAddrIs(Lidra::IpGenAddr const& ipAddr) {
   Zin::attributeIs(*this, kIpAddr, ipAddr_, ipAddr);
}

Zin::EntityType const& TransitIntf::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Evpn
