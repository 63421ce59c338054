#pragma once

#include "support/Random.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <utility>

namespace TestSupport {

// The lines of an event file over a RandomDocument, one change each, all of which can
// be played with either machine.
class RandomEvents {
 public:
   // inputs: what the document says of them, canonical.
   RandomEvents(uint32_t seed, nlohmann::json inputs)
      : RandomEvents(seededRandom(seed), std::move(inputs)) {}
   RandomEvents(Random random, nlohmann::json inputs)
      : random_(std::move(random)), inputs_(std::move(inputs)) {}

   // Whether another writer changes the outputs, too.
   void foreignWritesAre(bool on) { foreignWrites_ = on; }

   // One that is no line for the host.
   nlohmann::json nextOperation() {
      auto event = next();
      while (!event.contains("op")) {
         event = next();
      }
      return event;
   }

   nlohmann::json next() {
      auto const event = choice(below(foreignWrites_ ? 16 : 13));
      if (event.contains("op") && !isOutput(event)) {
         inputs_ = inputs_.patch(nlohmann::json::array({event}));
      }
      return event;
   }

 private:
   using json = nlohmann::json;

   static constexpr std::array kAddrs{"10.0.0.1", "10.0.0.100", "10.0.0.9"};
   static constexpr auto kTransit = "/mcastEvpnConfig/transitVrf";
   static constexpr auto kStatus = "/vtiStatusDir/vtiStatus/Vxlan1";
   static constexpr auto kPegVlans = "/pegVlanStatus/pegVlan";

   uint32_t below(uint32_t bound) { return random_() % bound; }
   std::string vrf() { return {static_cast<char>('a' + below(6))}; }
   std::string vlan() { return std::to_string(10 + below(6)); }
   std::string addr() { return kAddrs[below(3)]; }

   static json operation(char const* op, std::string const& path,
                         json const& value = json::object()) {
      return std::string(op) == "remove"
                ? json{{"op", op}, {"path", path}}
                : json{{"op", op}, {"path", path}, {"value", value}};
   }
   static bool isOutput(json const& event) {
      auto const path = event["path"].get<std::string>();
      return path.starts_with("/transitIntfColl") ||
             path.starts_with("/membershipJoinStatus");
   }
   bool has(std::string const& path) const {
      return inputs_.contains(json::json_pointer(path));
   }

   json status() {
      json mapping = json::object();
      for (uint32_t left = below(6); left != 0; --left) {
         mapping[vrf()] = 10 + below(6);
      }
      return {{"localVtepAddr", addr()},
              {"mlagVtepAddr", addr()},
              {"vrfToSBDVlan", mapping}};
   }

   // A member comes, or goes if it is there.
   json toggled(std::string const& path) {
      return operation(has(path) ? "remove" : "add", path);
   }

   json choice(uint32_t kind) {
      std::string const mapping = std::string(kStatus) + "/vrfToSBDVlan/";
      switch (kind) {
         case 0:
         case 1:
            return toggled(std::string(kTransit) + "/" + vrf());
         case 2:
         case 3:
            return toggled(std::string(kPegVlans) + "/" + vlan());
         case 4:
            return operation("replace", "/mlagStatus/mlagState", below(5));
         case 5:
            return {{"host", "restart"}};
         case 6:
            return below(4) == 0 && has(kStatus) ? operation("remove", kStatus)
                                                 : operation("add", kStatus, status());
         case 13:
            return operation("add", "/transitIntfColl/intf/Vlan" + vlan(),
                             {{"ipAddr", addr()}});
         case 14:
            return operation("add", "/membershipJoinStatus/vlan/" + vlan(),
                             {{"routerIntf", {{"Et1", json::object()}}}});
         case 15:
            return below(2) == 0
                      ? operation("replace", "/transitIntfColl/intf", json::object())
                      : operation("replace", "/membershipJoinStatus/vlan",
                                  json::object());
         default:
            break;
      }
      if (!has(kStatus)) {
         return operation("add", kStatus, status());
      }
      if (kind < 9) {
         auto const path = mapping + vrf();
         return has(path) ? operation("remove", path)
                          : operation("add", path, 10 + below(6));
      }
      return kind == 9
                ? operation("replace", std::string(kStatus) + "/localVtepAddr", addr())
                : operation("add", mapping + vrf(), 10 + below(6));
   }

   Random random_;
   json inputs_;
   bool foreignWrites_ = false;
};

} // namespace TestSupport
