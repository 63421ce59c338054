#pragma once

#include "Case.h"
#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "vxlan/VtiStatusDir.h"

namespace Bench::Machines {

// The inputs and outputs as the contract has them; what the programs that keep the
// contract have in common. An event sets an input.
struct Entities {
   using Vrf = L3::VrfName;

   explicit Entities(Case const& inputs);

   void transitIs(Vrf const& vrf, bool is);
   void mapIs(Vrf const& vrf, uint16_t vlan) { status->vrfToSBDVlanIs(vrf, vlan); }
   void pegIs(uint16_t vlan, bool is);
   void mlagIs(int state) { mlag->mlagStateIs(static_cast<Mlag::MlagState>(state)); }
   void localIs(uint32_t value) { status->localVtepAddrIs(Lidra::IpAddr(value)); }

   Outputs outputs() const;
   // Empties the outputs.
   void outputsDel();
   // Gives the outputs what no machine writes: wrong addresses, interfaces of no VLAN,
   // joins and router interfaces of others, and joins of "Null0" that are to go.
   void foreignOutputs(Case const& inputs);

   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> peg =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();

   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> coll;
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins;
};

} // namespace Bench::Machines
