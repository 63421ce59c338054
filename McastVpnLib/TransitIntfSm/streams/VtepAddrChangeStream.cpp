#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kStream;

void TransitIntfSm::eventToVtepAddrChangeStream(Lidra::IntfId vtiIntf,
                                                Zin::Optional<VtiStatusPtr> const&) {
   if (!streaming()) {
      return;
   }
   TRANSIT_INTF_TRACE(kStream,
                      "vtepAddrChangeStream = from( vtiStatusDir.vtiStatus[].{{ "
                      "localVtepAddr, mlagVtepAddr }} ): vtiIntf={}",
                      vtiIntf);
   if (vtiIntf != StreamOps::vxlanIntf()) {
      StreamOps::filterFailed(__func__, StreamOps::kFilterVxlanIntf);
      return;
   }
   flattenTransitVrf(__func__);
}

} // namespace Irb::Multicast::Evpn
