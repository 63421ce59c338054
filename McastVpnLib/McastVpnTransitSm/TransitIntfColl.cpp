#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"

#include "McastVpnLib/McastVpnLib.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Evpn {

namespace {

constexpr std::array kAttributes = {
   Zin::childrenAttribute<TransitIntfColl, TransitIntf>(
      "intf", TransitIntfColl::kIntf,
      [](auto const& coll) -> auto& { return coll.intf(); },
      [](auto& coll, Lidra::IntfId intfId, Zin::InitialValues const& values) {
         return coll.intfIs(
            intfId, Lidra::IpGenAddr(Zin::initialValue(values, "ipAddr", "0.0.0.0")));
      },
      [](auto& coll, Lidra::IntfId intfId) { coll.intfDel(intfId); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Evpn::TransitIntfColl", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

Pelk::Ptr<TransitIntfColl> TransitIntfColl::TransitIntfCollIs() {
   return Pelk::makePtr<TransitIntfColl>();
}

Pelk::Ptr<TransitIntf> TransitIntfColl::intf(Lidra::IntfId intfId) const {
   return Zin::child(intf_, intfId);
}

Pelk::Ptr<TransitIntf> TransitIntfColl::intfIs(Lidra::IntfId intfId,
                                               Lidra::IpGenAddr const& ipAddr) {
   if (auto const* const entry = intf_.find(intfId)) {
      auto present = entry->value();
      present->ipAddrIs(ipAddr);
      return present;
   }
   return Zin::childMade(*this, kIntf, intf_, intfId, ipAddr);
}

Pelk::Ptr<TransitIntf> TransitIntfColl::intfDel(Lidra::IntfId intfId) {
   return Zin::memberDel(*this, kIntf, intf_, intfId).value_or(nullptr);
}

void TransitIntfColl::intfDelAll() {
   Zin::memberDelAll(*this, kIntf, intf_);
}

Zin::EntityType const& TransitIntfColl::type() noexcept {
   return kType;
}

Pelk::Ptr<TransitIntfColl> transitIntfCollFactory() {
   return TransitIntfColl::TransitIntfCollIs();
}

} // namespace Irb::Multicast::Evpn
