#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kStream;

void TransitIntfSm::eventToTransitCfgStream(L3::VrfName const& vrfName,
                                            Zin::Optional<::FlumaCode::Unit> const&,
                                            KnownInputs known) {
   if (!streaming()) {
      return;
   }
   TRANSIT_INTF_TRACE(
      kStream, "transitCfgStream = from( mcastEvpnConfig.transitVrf[] ): vrfName={}",
      vrfName);
   eventToVrfStream(vrfName, known);
}

} // namespace Irb::Multicast::Evpn
