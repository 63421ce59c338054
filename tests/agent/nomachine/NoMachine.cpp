#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"

// Takes the place of the library's factory in an agent that is run with this library
// preloaded: a machine that computes nothing, which --verify is to find out.
namespace Irb::Multicast::Evpn {

MCASTVPNLIB_EXPORT Pelk::Ptr<TransitSm> transitSmFactory(
   Lidra::AddressFamily, Pelk::Ptr<Routing::Multicast::Evpn::Config const> const&,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const&, Pelk::Ptr<Mlag::Status const> const&,
   Pelk::Ptr<TransitIntfColl> const&, Pelk::Ptr<Gmp::MembershipJoinStatus> const&) {
   return nullptr;
}

} // namespace Irb::Multicast::Evpn
