#include "McastVpnLib/TransitIntfSm/outputs/ExcludeIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/outputs/FmtSourceIntfOutputImpl.h"

namespace Irb::Multicast::Evpn {

template struct SourceIntfOutput<ExcludeIntfOutput, OutputKeys::ExcludeIntfName>;
template class OutputSink<ExcludeIntfOutput>;
template class OutputReconciler<ExcludeIntfOutput>;

} // namespace Irb::Multicast::Evpn
