#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"

namespace Irb::Multicast::Evpn::TransitIntfTrace {

Pelk::TraceHandler transitIntfSm("TransitIntfSm");
Pelk::TraceHandler mcastEvpnConfigSm0("McastEvpnConfigSm0");
Pelk::TraceHandler vtiStatusDirSm1("VtiStatusDirSm1");
Pelk::TraceHandler vtiStatusSm2("VtiStatusSm2");
Pelk::TraceHandler mlagStatusSm3("MlagStatusSm3");
Pelk::TraceHandler pegVlanStatusSm4("PegVlanStatusSm4");

} // namespace Irb::Multicast::Evpn::TransitIntfTrace
