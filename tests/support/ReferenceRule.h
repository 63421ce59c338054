#pragma once

#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "support/OutputSnapshot.h"
#include "vxlan/VtiStatusDir.h"

namespace Support {

// What the transit reactor's outputs are, worked out afresh from the inputs:
//
//    a VLAN is a transit VLAN if the status of "Vxlan1" maps a configured transit VRF
//    to it; it then has the wildcard join on "Null0" and, unless the MLAG state is 4,
//    a transit interface with the VTEP address: the shared one in state 3, else the
//    switch's own.
//
// Knows nothing of tables, notifications or order. Where the reactor is meant to differ
// stands in PathDependence.h.
struct ReferenceRule {
   Lidra::AddressFamily af = Lidra::AddressFamily::ipv4;
   bool joinsEnabled = true;

   OutputSnapshot operator()(Routing::Multicast::Evpn::Config const& config,
                             Vxlan::VtiStatusDir const* dir,
                             Mlag::Status const& mlag) const {
      OutputSnapshot expected;
      auto const status =
         dir == nullptr ? nullptr : dir->vtiStatus(Lidra::IntfId("Vxlan1"));
      if (!status || af != Lidra::AddressFamily::ipv4) {
         return expected;
      }
      auto const state = static_cast<uint32_t>(mlag.mlagState());
      auto const addr = state == 3 ? status->mlagVtepAddr() : status->localVtepAddr();
      for (auto const& mapped : status->vrfToSBDVlan()) {
         uint16_t const vlanId = mapped.value().value();
         if (vlanId == 0 || !config.transitVrfHas(mapped.key())) {
            continue;
         }
         if (state != 4) {
            expected[intfKey("Vlan" + std::to_string(vlanId))] = addr.stringValue();
         }
         if (joinsEnabled) {
            expected[joinKey(vlanId)] = "(0.0.0.0, 0.0.0.0) include Null0";
         }
      }
      return expected;
   }
};

} // namespace Support
