// Somebody else's agent, in small: publishes one transit VRF whose VXLAN tunnel
// interface maps it to VLAN 10, runs the transit reactor over it through the public
// factory, and prints the transit interfaces that it made.

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "vxlan/VtiStatus.h"
#include "vxlan/VtiStatusDir.h"

#include <iostream>

int main() {
   auto const config = Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   config->transitVrfIs(L3::VrfName("red"));
   auto const vti = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   vti->localVtepAddrIs(Lidra::IpAddr("10.0.0.1"));
   vti->vrfToSBDVlanIs(L3::VrfName("red"), Bridging::VlanIdOrNone(10));
   auto const vtis = Pelk::makePtr<Vxlan::VtiStatusDir>();
   vtis->vtiStatusIs(vti);

   auto const intfs = Irb::Multicast::Evpn::transitIntfCollFactory();
   auto const machine = Irb::Multicast::Evpn::transitSmFactory(
      Lidra::AddressFamily::ipv4, config, vtis, Pelk::makePtr<Mlag::Status>(), intfs,
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>());

   for (auto const& entry : intfs->intf()) {
      std::cout << entry.key() << ' ' << entry.value()->ipAddr() << '\n';
   }
}
