#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "vxlan/VtiStatusDir.h"

// What a machine is given, empty.
namespace Support {

struct InputEntities {
   Pelk::Ptr<Routing::Multicast::Evpn::Config> const config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> const dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Mlag::Status> const mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> const pegVlans =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
};

struct OutputEntities {
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> const coll =
      Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> const joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
};

} // namespace Support
