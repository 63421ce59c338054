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

} // namespace Irb::Multicast::Evpn
