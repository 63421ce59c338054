#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Irb::Multicast::Evpn::TransitTrace {

Pelk::TraceHandler& text() {
   static Pelk::TraceHandler handler(kFacility);
   return handler;
}

Pelk::Ptr<Fennlog::TraceHandle> const& ring() {
   static auto const handle = Pelk::makePtr<Fennlog::TraceHandle>();
   return handle;
}

} // namespace Irb::Multicast::Evpn::TransitTrace
