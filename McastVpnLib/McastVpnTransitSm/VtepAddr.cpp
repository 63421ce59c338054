#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Irb::Multicast::Evpn {

Lidra::IpGenAddr TransitSm::vtepAddr() const {
   auto const status = vxlanStatus();
   if (!status) {
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
   uint32_t dispatches = dispatches_;
   auto addr = vtepAddr();
   for (auto entry = transitIntfColl_->intf().iterate(); entry; ++entry) {
      auto const intf = entry.value();
      intf->ipAddrIs(addr);
      if (dispatches_ != dispatches) {
         // Who was notified changed an input, and the choice may be another by now.
         dispatches = dispatches_;
         addr = vtepAddr();
      }
   }
}

} // namespace Irb::Multicast::Evpn
