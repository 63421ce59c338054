#pragma once

#include "McastVpnLib/Export.h"
#include "lidra/AddressFamily.h"
#include "pelk/Ptr.h"

// The factories of libMcastVpnLib.so. A multicast agent makes one collection of
// transit interfaces, one of the machines over it, and keeps both. Event thread only.

namespace Routing::Multicast::Evpn {
class Config;
}
namespace Vxlan {
class VtiStatusDir;
}
namespace Mlag {
class Status;
}
namespace Routing::Multicast {
class PegVlanStatus;
}
namespace Vorn {
class SmControl;
}
namespace Irb::Multicast::Gmp {
class MembershipJoinStatus;
}

namespace Irb::Multicast::Evpn {

class TransitIntfColl;
class TransitIntfSm;
class TransitSm;

// Makes an empty collection of transit interfaces
// (McastVpnTransitSm/TransitIntfColl.h).
MCASTVPNLIB_EXPORT Pelk::Ptr<TransitIntfColl> transitIntfCollFactory();

// Makes the transit reactor (McastVpnTransitSm/TransitSm.h), which writes its outputs
// before this returns and follows its inputs from then on, until its last use is
// dropped; the outputs stay as they are then.
//
// vtiStatusDir may be null; any other null argument is a fatal assertion. A mapped VLAN
// outside 1..4094 raises a Zin::RangeException; nothing is subscribed then.
MCASTVPNLIB_EXPORT Pelk::Ptr<TransitSm> transitSmFactory(
   Lidra::AddressFamily af,
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
   Pelk::Ptr<Mlag::Status const> const& mlagStatus,
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus);

// Makes the dataflow machine (TransitIntfSm/TransitIntfSm.h), which starts at once and
// follows its inputs from then on, until its last use is dropped; the outputs stay as
// they are then. In synchronous mode it is ready when this returns, else its tasks go
// on in the control record's scheduler (the process's, if it names none), and the
// machine's OutputState says when it is.
//
// Any null argument is a fatal assertion. A mapped VLAN outside 1..4094 raises a
// Zin::RangeException from here if it is met before this returns, in a synchronous
// start or in the first slice of a scan; nothing is subscribed then. Met later, in a
// task or by a notification, it ends the process.
MCASTVPNLIB_EXPORT Pelk::Ptr<TransitIntfSm> transitIntfSmFactory(
   Lidra::AddressFamily addressFamily,
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
   Pelk::Ptr<Mlag::Status const> const& mlagStatus,
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus,
   Pelk::Ptr<Routing::Multicast::PegVlanStatus const> const& pegVlanStatus,
   Vorn::SmControl const& smControl);

} // namespace Irb::Multicast::Evpn
