#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kStream;

void TransitIntfSm::eventToMlagStream(Mlag::MlagState) {
   if (!streaming()) {
      return;
   }
   TRANSIT_INTF_TRACE(kStream, "mlagStream = from( mlagStatus.mlagState ):");
   flattenTransitVrf(__func__);
}

// Every transit VRF is evaluated, for the function named.
void TransitIntfSm::flattenTransitVrf(char const* function) {
   if (isRepetition()) {
      return;
   }
   auto const& transitVrf = mcastEvpnConfig_->transitVrf();
   StreamOps::flattening(function, "mcastEvpnConfig.transitVrf", transitVrf.size());
   for (auto member = transitVrf.iterate(); member; ++member) {
      auto const vrfName = member.key();
      StreamOps::element(function, vrfName);
      eventToVrfStream(vrfName, KnownInputs::transitVrf(transitVrf.version(), true));
   }
}

} // namespace Irb::Multicast::Evpn
