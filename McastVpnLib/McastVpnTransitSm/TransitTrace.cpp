#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Irb::Multicast::Evpn::TransitTrace {

Pelk::TraceHandler Impl::textHandler(kFacility);
constinit Pelk::Ptr<Fennlog::TraceHandle> Impl::ringHandle;

Pelk::TraceHandler& text() {
   return Impl::textHandler;
}

Pelk::Ptr<Fennlog::TraceHandle> const& ring() {
   if (!Impl::ringHandle) {
      Impl::ringHandle = Pelk::makePtr<Fennlog::TraceHandle>();
   }
   return Impl::ringHandle;
}

} // namespace Irb::Multicast::Evpn::TransitTrace
