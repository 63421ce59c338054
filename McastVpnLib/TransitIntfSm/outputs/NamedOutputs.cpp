#include "McastVpnLib/TransitIntfSm/outputs/NamedOutputs.h"

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"

namespace Irb::Multicast::Evpn {

NamedOutputs::NamedOutputs(TransitIntfSm* sm) noexcept
   : transitSink_(sm), routerSink_(sm), excludeSink_(sm), includeSink_(sm),
     transitReconciler_(sm, &transitSink_), routerReconciler_(sm, &routerSink_),
     excludeReconciler_(sm, &excludeSink_), includeReconciler_(sm, &includeSink_) {}

NamedOutputs::~NamedOutputs() = default;

} // namespace Irb::Multicast::Evpn
