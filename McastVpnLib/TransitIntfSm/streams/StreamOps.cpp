#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"

namespace Irb::Multicast::Evpn::StreamOps {

namespace {

Lidra::IntfId const vxlan1("Vxlan1");
Lidra::IntfId const null0("Null0");

} // namespace

Lidra::IntfId vxlanIntf() noexcept {
   return vxlan1;
}

Lidra::IntfId nullIntf() noexcept {
   return null0;
}

void filterFailed(char const* function, char const* filter) {
   TRANSIT_INTF_TRACE_AS(TransitIntfTrace::kFilter, function,
                         "filter( {} ) failed, terminating pipeline", filter);
}

void flattening(char const* function, char const* collection, size_t elements) {
   TRANSIT_INTF_TRACE_AS(TransitIntfTrace::kFilter, function,
                         " foreach( {} ) flattening {} elements", collection, elements);
}

void elementTraced(char const* function, L3::VrfName const& vrfName) {
   TRANSIT_INTF_TRACE_AS(TransitIntfTrace::kDetail, function, "Flattening element: {}",
                         vrfName);
}

} // namespace Irb::Multicast::Evpn::StreamOps
