#include "McastVpnLib/TransitIntfSm/Root.h"

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

bool rootInitialScanDone(Root const& root) noexcept {
   return root.initialScanDone();
}

bool rootSynchronous(Root const& root) noexcept {
   return root.synchronous();
}

bool rootIsBeingDeleted(Root const& root) noexcept {
   return root.isBeingDeleted();
}

void assertNothingMissed(Root const& root, uint32_t seen, uint32_t now,
                         char const* attribute) {
   Pelk::Impl::vfmassert(!root.initialScanDone() || seen == now,
                         TransitIntfTrace::kFile, __LINE__, "doDeleteAll",
                         "We missed notifications that happened to %s before the "
                         "enclosing entity got deleted",
                         attribute);
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
