#pragma once

#include <nlohmann/json.hpp>

#include <set>
#include <string>

namespace TestSupport {

// A state document in which each of these VLANs is that of a transit VRF of its own.
inline nlohmann::json transitState(std::set<int> const& vlans,
                                   std::string const& vtep = "10.0.0.1") {
   auto const none = nlohmann::json::object();
   nlohmann::json state = {{"mcastEvpnConfig", {{"transitVrf", none}}},
                           {"pegVlanStatus", {{"pegVlan", none}}}};
   auto& status = state["vtiStatusDir"]["vtiStatus"]["Vxlan1"];
   status["localVtepAddr"] = vtep;
   for (int const vlan : vlans) {
      auto const vrf = "vrf-" + std::to_string(vlan);
      state["mcastEvpnConfig"]["transitVrf"][vrf] = none;
      state["pegVlanStatus"]["pegVlan"][std::to_string(vlan)] = none;
      status["vrfToSBDVlan"][vrf] = vlan;
   }
   return state;
}

// The same of so many VLANs, from 1.
inline nlohmann::json manyTransitVlans(int vlans) {
   std::set<int> all;
   for (int vlan = 1; vlan <= vlans; ++vlan) {
      all.insert(vlan);
   }
   return transitState(all);
}

} // namespace TestSupport
