#pragma once

#include "agent/verify/Inputs.h"
#include "agent/verify/Outputs.h"
#include "lidra/AddressFamily.h"

namespace Verify {

// What the transit reactor's outputs are, worked out afresh from the inputs:
//
//    a VLAN is a transit VLAN if the status of "Vxlan1" maps a configured transit VRF
//    to it; it then has the wildcard join on "Null0" and, unless the MLAG state is 4,
//    a transit interface with the VTEP address: the shared one in state 3, else the
//    switch's own. All of it for IPv4 only, joins only while their toggle is on.
//
// Knows nothing of tables, notifications or order. Where the reactor is meant to differ
// stands in PathDependence.h.
Outputs reactorOutputs(Inputs const& inputs, Lidra::AddressFamily af,
                       bool joinsEnabled = true);

} // namespace Verify
