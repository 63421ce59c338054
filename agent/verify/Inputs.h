#pragma once

#include "mlag/Status.h"
#include "pelk/Ptr.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "vxlan/VtiStatusDir.h"

namespace Verify {

// What the plain rules look at.
struct Inputs {
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> config;
   Pelk::Ptr<Vxlan::VtiStatusDir const> dir; // may be null, for the reactor
   Pelk::Ptr<Mlag::Status const> mlag;
   Pelk::Ptr<Routing::Multicast::PegVlanStatus const> pegVlans; // dataflow only
};

// The status of "Vxlan1", or null.
inline Pelk::Ptr<Vxlan::VtiStatus> vxlan1Of(Inputs const& inputs) {
   return inputs.dir ? inputs.dir->vtiStatus(Lidra::IntfId("Vxlan1")) : nullptr;
}

} // namespace Verify
