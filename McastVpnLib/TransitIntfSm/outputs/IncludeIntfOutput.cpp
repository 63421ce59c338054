#include "McastVpnLib/TransitIntfSm/outputs/IncludeIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/outputs/FmtSourceIntfOutputImpl.h"

namespace Irb::Multicast::Evpn {

template struct SourceIntfOutput<IncludeIntfOutput, OutputKeys::IncludeIntfName>;
template class OutputSink<IncludeIntfOutput>;
template class OutputReconciler<IncludeIntfOutput>;

} // namespace Irb::Multicast::Evpn
