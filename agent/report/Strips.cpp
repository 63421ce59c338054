#include "agent/report/Strips.h"

#include "agent/Conditions.h"
#include "agent/SbdVlans.h"
#include "bridging/VlanId.h"
#include "lidra/IntfId.h"

#include <algorithm>

namespace Agent {

using nlohmann::ordered_json;

Strips::Strips(State const& state, Options const& options,
               std::set<uint16_t> const& vlans, Texts& texts)
   : state_(state), options_(options), shown_(vlans), texts_(texts) {
   for (auto const vlan : vlans) {
      vlans_[vlan];
   }
   SbdVlans const none(state, std::set<uint16_t>());
   for (auto const& condition : conditionsOf(
           factsOf(Bridging::VlanId::kMax, none, state, options), options.machine)) {
      types_.emplace_back(condition.type);
   }
   for (auto& [id, vlan] : vlans_) {
      vlan.conditions.resize(types_.size());
   }
}

void Strips::Strip::is(size_t place, bool holdsNow, size_t textNow) {
   size_t const size = items.size();
   if (size != 0 && items[size - 2] == (holdsNow ? 1 : 0) &&
       items[size - 1] == textNow) {
      return;
   }
   // What stood for no time at all is not shown.
   if (size != 0 && items[size - 3] == place) {
      items.resize(size - 3);
   }
   items.insert(items.end(), {place, holdsNow ? size_t{1} : size_t{0}, textNow});
}

void Strips::lookAtInputs(size_t place) {
   SbdVlans const mapped(state_, shown_);
   for (auto& [id, vlan] : vlans_) {
      auto const facts = factsOf(id, mapped, state_, options_);
      if (!facts.vrfs.empty()) {
         vlan.vrfs = vrfsText(facts.vrfs);
      }
      auto const conditions = conditionsOf(facts, options_.machine);
      for (size_t i = 0; i < types_.size(); ++i) {
         vlan.conditions[i].is(place, conditions[i].status,
                               texts_.add(conditions[i].message));
      }
   }
}

void Strips::lookAtOutputs(size_t place) {
   for (auto& [id, vlan] : vlans_) {
      auto const intf =
         state_.transitIntfColl->intf(Lidra::IntfId("Vlan" + std::to_string(id)));
      vlan.intf.is(place, static_cast<bool>(intf),
                   intf ? texts_.add("from " + intf->ipAddr().stringValue()) : 0);
      bool const isJoined =
         static_cast<bool>(state_.membershipJoinStatus->vlan(Bridging::VlanId(id)));
      vlan.join.is(place, isJoined, 0);
   }
}

ordered_json Strips::toJson() const {
   auto json = ordered_json::array();
   for (auto const& [id, vlan] : vlans_) {
      auto conditions = ordered_json::array();
      for (auto const& strip : vlan.conditions) {
         conditions.push_back(strip.items);
      }
      json.push_back({{"vlan", id},
                      {"vrfs", vlan.vrfs},
                      {"intf", vlan.intf.items},
                      {"join", vlan.join.items},
                      {"conditions", std::move(conditions)}});
   }
   return json;
}

} // namespace Agent
