#pragma once

#include "McastVpnLib/Export.h"

#include <cstdint>

namespace Irb::Multicast::Evpn {
class TransitIntfSm;
}

// What the parts of the dataflow machine ask of it; for the headers that
// TransitIntfSm.h includes. Event thread only.
namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

using Root = Evpn::TransitIntfSm;

MCASTVPNLIB_EXPORT bool rootInitialScanDone(Root const& root) noexcept;
MCASTVPNLIB_EXPORT bool rootSynchronous(Root const& root) noexcept;
MCASTVPNLIB_EXPORT bool rootIsBeingDeleted(Root const& root) noexcept;
// Ends the process: the input changed, and nobody told its machine.
MCASTVPNLIB_EXPORT void assertNothingMissed(Root const& root, uint32_t seen,
                                            uint32_t now, char const* attribute);

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
