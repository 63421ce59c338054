#include "McastVpnLib/TransitIntfSm/outputs/IncludeIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/outputs/FmtSourceIntfOutputImpl.h"

namespace Irb::Multicast::Evpn {

template struct SourceIntfOutput<IncludeIntfOutput, OutputKeys::IncludeIntfName>;

// One a VLAN.
void IncludeIntfOutput::reserve(TransitIntfSm& sm, size_t entries) {
   sm.membershipJoinStatus()->vlanReserve(entries);
}

template class OutputSink<IncludeIntfOutput>;
template class OutputReconciler<IncludeIntfOutput>;

} // namespace Irb::Multicast::Evpn
