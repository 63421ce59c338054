#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"

#include <cstdint>
#include <random>

namespace Support {

// What earlier runs and other writers may have left in the outputs: entries on VLANs
// that are transit VLANs and on such as are not, right and wrong ones, on every level.
// No level is left empty.
inline void leaveRandomOutputs(uint32_t seed,
                               Irb::Multicast::Evpn::TransitIntfColl& coll,
                               Irb::Multicast::Gmp::MembershipJoinStatus& joins) {
   std::mt19937 random(seed);
   auto const below = [&](uint32_t n) {
      return std::uniform_int_distribution<uint32_t>(0, n - 1)(random);
   };
   static constexpr char const* kIntfs[] = {"Vlan1",    "Vlan10", "Vlan20",
                                            "Vlan4094", "Vlan77", "Ethernet1"};
   static constexpr char const* kAddrs[] = {"10.0.0.0", "10.0.0.1", "192.0.2.1"};
   for (uint32_t left = below(6); left != 0; --left) {
      coll.intfIs(Lidra::IntfId(kIntfs[below(6)]),
                  Lidra::IpGenAddr(std::string_view(kAddrs[below(3)])));
   }
   static constexpr uint16_t kVlans[] = {1, 10, 20, 77, 4094};
   static constexpr char const* kGroups[] = {"0.0.0.0", "224.1.1.1", "::"};
   static constexpr char const* kLeaves[] = {"Null0", "Ethernet1"};
   for (uint32_t left = below(10); left != 0; --left) {
      auto const vlan = joins.vlanIs(kVlans[below(5)]);
      Lidra::IntfId const leaf(kLeaves[below(2)]);
      if (below(4) == 0) {
         vlan->routerIntfIs(leaf);
         continue;
      }
      auto const source =
         vlan->groupIs(Lidra::IpGenAddr(std::string_view(kGroups[below(3)])))
            ->sourceIs(Lidra::IpGenAddr(std::string_view(kGroups[below(3)])));
      if (below(3) == 0) {
         source->excludeIntfIs(leaf);
      } else {
         source->includeIntfIs(leaf);
      }
   }
}

} // namespace Support
