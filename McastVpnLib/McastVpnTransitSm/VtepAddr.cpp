#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Irb::Multicast::Evpn {

Lidra::IpGenAddr TransitSm::vtepAddr() const {
   auto const* const status = vxlanStatus();
   if (status == nullptr) {
      return {};
   }
   bool const shared = mlagStatus_->mlagState() == Mlag::MlagState::active;
   Lidra::IpAddr const addr = shared ? status->mlagVtepAddr() : status->localVtepAddr();
   TRANSIT_TRACE(4, "vtepAddr for transit interface : %s", addr);
   return addr;
}

void TransitSm::handleVtepAddr() {
   TRANSIT_TRACE(8, "handleVtepAddr( %s )", af_);
   if (af_ != Lidra::AddressFamily::ipv4) {
      return;
   }
   uint32_t const dispatches = dispatches_;
   auto const addr = vtepAddr();
   for (auto entry = transitIntfColl_->intf().iterate(); entry; ++entry) {
      auto const intf = entry.value();
      intf->ipAddrIs(addr);
      if (dispatches_ != dispatches) {
         // Who was notified changed an input, so the choice may be another by now, and
         // some interfaces have it already: choose anew, for all of them.
         handleVtepAddr();
         return;
      }
   }
}

} // namespace Irb::Multicast::Evpn
