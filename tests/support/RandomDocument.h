#pragma once

#include "support/Random.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

// A state document, which may hold comments.
inline nlohmann::json parsedDocument(std::string const& text) {
   return nlohmann::json::parse(text, nullptr, true, true);
}

// A state of few VRFs and VLANs, so that most conditions meet, in canonical form; the
// outputs hold what is right, what is old and what is nobody's.
class RandomDocument {
 public:
   explicit RandomDocument(uint32_t seed) : RandomDocument(seededRandom(seed)) {}
   explicit RandomDocument(Random random) : random_(std::move(random)) {}

   nlohmann::json make() {
      nlohmann::json transit = nlohmann::json::object();
      nlohmann::json mapping = nlohmann::json::object();
      nlohmann::json peg = nlohmann::json::object();
      for (char name = 'a'; name <= 'f'; ++name) {
         std::string const vrf(1, name);
         if (oneIn(4, 3)) {
            transit[vrf] = nlohmann::json::object();
         }
         if (oneIn(5, 4)) {
            mapping[vrf] = 10 + below(6);
         }
      }
      for (uint32_t vlan = 10; vlan < 16; ++vlan) {
         if (oneIn(4, 3)) {
            peg[std::to_string(vlan)] = nlohmann::json::object();
         }
      }
      nlohmann::json const status = {{"localVtepAddr", kAddrs[0]},
                                     {"mlagVtepAddr", kAddrs[1]},
                                     {"vrfToSBDVlan", mapping}};
      return {{"mcastEvpnConfig", {{"transitVrf", transit}}},
              {"vtiStatusDir", {{"vtiStatus", {{"Vxlan1", status}}}}},
              {"mlagStatus", {{"mlagState", below(5)}}},
              {"pegVlanStatus", {{"pegVlan", peg}}},
              {"transitIntfColl", {{"intf", interfaces()}}},
              {"membershipJoinStatus", {{"vlan", joins()}}}};
   }

 private:
   static constexpr std::array kAddrs{"10.0.0.1", "10.0.0.100", "10.0.0.9"};

   uint32_t below(uint32_t bound) { return random_() % bound; }
   bool oneIn(uint32_t all, uint32_t hits) { return below(all) < hits; }

   nlohmann::json interfaces() {
      nlohmann::json interfaces = nlohmann::json::object();
      for (auto const* name :
           {"Vlan10", "Vlan11", "Vlan12", "Vlan13", "Vlan99", "Et1"}) {
         if (oneIn(2, 1)) {
            interfaces[name] = {{"ipAddr", kAddrs[below(3)]}};
         }
      }
      return interfaces;
   }

   nlohmann::json members(std::vector<std::string> const& names, uint32_t all) {
      nlohmann::json set = nlohmann::json::object();
      for (auto const& name : names) {
         if (oneIn(all, 1)) {
            set[name] = nlohmann::json::object();
         }
      }
      return set;
   }

   nlohmann::json joins() {
      nlohmann::json joins = nlohmann::json::object();
      for (auto const* vlan : {"10", "11", "12", "14", "98"}) {
         if (oneIn(3, 1)) {
            continue;
         }
         nlohmann::json groups = nlohmann::json::object();
         for (auto const* group : {"0.0.0.0", "239.1.1.1"}) {
            nlohmann::json sources = nlohmann::json::object();
            for (auto const* source : {"0.0.0.0", "10.9.9.9"}) {
               if (oneIn(2, 1)) {
                  sources[source] = {{"includeIntf", members({"Null0", "Et1"}, 2)},
                                     {"excludeIntf", members({"Et2"}, 4)}};
               }
            }
            if (oneIn(2, 1)) {
               groups[group] = {{"source", sources}};
            }
         }
         joins[vlan] = {{"group", groups}, {"routerIntf", members({"Et3"}, 4)}};
      }
      return joins;
   }

   Random random_;
};

} // namespace TestSupport
