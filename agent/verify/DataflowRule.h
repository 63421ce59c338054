#pragma once

#include "agent/verify/Inputs.h"
#include "agent/verify/Outputs.h"
#include "lidra/AddressFamily.h"

namespace Verify {

// What the dataflow machine's outputs are, worked out afresh from the inputs:
//
//    a VLAN is a transit VLAN if the status of "Vxlan1" maps exactly one VRF to it,
//    that VRF is a configured transit VRF, and the VLAN is a PEG VLAN; it then has the
//    wildcard join on "Null0", in the machine's address family, and, unless the MLAG
//    state is 4, a transit interface with the VTEP address: the shared one in state 3,
//    else the switch's own.
//
// Knows nothing of streams, scans or order. Where the machine is meant to differ stands
// in PathDependence.h.
Outputs dataflowOutputs(Inputs const& inputs, Lidra::AddressFamily af);

} // namespace Verify
