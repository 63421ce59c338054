#pragma once

#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "support/OutputSnapshot.h"
#include "vxlan/VtiStatusDir.h"

#include <map>

namespace Support {

// What the dataflow machine's outputs are, worked out afresh from the inputs:
//
//    a VLAN is a transit VLAN if the status of "Vxlan1" maps exactly one VRF to it,
//    that VRF is a configured transit VRF, and the VLAN is a PEG VLAN; it then has the
//    wildcard join on "Null0" and, unless the MLAG state is 4, a transit interface with
//    the VTEP address: the shared one in state 3, else the switch's own.
//
// Knows nothing of groups, notifications or order.
struct DataflowRule {
   Lidra::AddressFamily af = Lidra::AddressFamily::ipv4;

   OutputSnapshot operator()(Routing::Multicast::Evpn::Config const& config,
                             Vxlan::VtiStatusDir const& dir, Mlag::Status const& mlag,
                             Routing::Multicast::PegVlanStatus const& peg) const {
      OutputSnapshot expected;
      auto const status = dir.vtiStatus(Lidra::IntfId("Vxlan1"));
      if (!status) {
         return expected;
      }
      std::map<uint16_t, int> mapped;
      for (auto const& entry : status->vrfToSBDVlan()) {
         ++mapped[entry.value().value()];
      }
      auto const state = static_cast<uint32_t>(mlag.mlagState());
      auto const addr = state == 3 ? status->mlagVtepAddr() : status->localVtepAddr();
      std::string const any = af == Lidra::AddressFamily::ipv6 ? "::" : "0.0.0.0";
      for (auto const& entry : status->vrfToSBDVlan()) {
         uint16_t const vlanId = entry.value().value();
         if (mapped[vlanId] != 1 || !config.transitVrfHas(entry.key()) || vlanId == 0 ||
             !peg.pegVlanHas(vlanId)) {
            continue;
         }
         if (state != 4) {
            expected[intfKey("Vlan" + std::to_string(vlanId))] = addr.stringValue();
         }
         expected[joinKey(vlanId)] = "(" + any + ", " + any + ") include Null0";
      }
      return expected;
   }
};

} // namespace Support
