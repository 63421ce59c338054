#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Irb::Multicast::Evpn {

void TransitSm::handleMlagState() {
   if (af_ != Lidra::AddressFamily::ipv4) {
      return;
   }
   auto const state = mlagStatus_->mlagState();
   TRANSIT_TRACE(8, "handleMlagState: Mlag State: %s",
                 Dualo::differing(static_cast<uint32_t>(state), state));
   for (auto entry = mcastEvpnConfig_->transitVrf().iterate(); entry; ++entry) {
      auto const vrf = entry.key();
      evaluateVrf(vrf, true);
   }
}

} // namespace Irb::Multicast::Evpn
