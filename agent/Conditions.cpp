#include "agent/Conditions.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using Verify::Machine;

constexpr uint32_t kWithheld = static_cast<uint32_t>(Mlag::MlagState::withheld);

Change change(std::string text, char const* op, json::json_pointer const& path,
              json const& value = nullptr) {
   ordered_json operation{{"op", op}, {"path", path.to_string()}};
   if (!value.is_null()) {
      operation["value"] = value;
   }
   return {std::move(text), std::move(operation)};
}

json::json_pointer statusPath() {
   return json::json_pointer("/vtiStatusDir/vtiStatus/Vxlan1");
}
json::json_pointer mappingPath(std::string const& vrf) {
   return statusPath() / "vrfToSBDVlan" / vrf;
}
json::json_pointer transitPath(std::string const& vrf) {
   return json::json_pointer("/mcastEvpnConfig/transitVrf") / vrf;
}
json::json_pointer pegPath(uint16_t vlanId) {
   return json::json_pointer("/pegVlanStatus/pegVlan") / std::to_string(vlanId);
}

Change mlagStateChange(uint32_t state) {
   return change(state == kWithheld ? "the MLAG state were 4 (withheld)"
                                    : "the MLAG state were not 4 (withheld)",
                 "replace", json::json_pointer("/mlagStatus/mlagState"), state);
}
Change unmapping(std::string const& vrf) {
   return change(fmt::format("VRF {} did not map to it", nameForPeople(vrf)), "remove",
                 mappingPath(vrf));
}
Change becomingTransit(std::string const& vrf) {
   return change(fmt::format("VRF {} were a transit VRF", nameForPeople(vrf)), "add",
                 transitPath(vrf), json::object());
}

std::string names(SbdVlans::Vrfs const& vrfs) {
   auto text = vrfsText(vrfs);
   std::erase(text, '*');
   return text;
}

bool anyTransit(VlanFacts const& facts) {
   return std::ranges::any_of(facts.vrfs, &SbdVlans::Vrf::isTransit);
}

// What the machine has the VLAN do without, whichever VRF it is to have.
Changes changesApartFromVrfs(VlanFacts const& facts, Machine machine) {
   Changes changes;
   if (!facts.hasStatus) {
      changes.push_back(change("\"Vxlan1\" had a status", "add", statusPath(),
                               json{{"vrfToSBDVlan", json::object()}}));
   }
   if (machine == Machine::dataflow && !facts.isPegVlan) {
      changes.push_back(change(fmt::format("VLAN {} were a PEG VLAN", facts.vlanId),
                               "add", pegPath(facts.vlanId), json::object()));
   }
   if (facts.mlagState == kWithheld) {
      changes.push_back(mlagStateChange(0));
   }
   return changes;
}

// How many changes make the VRF one that suffices for the machine.
size_t costOf(KnownVrf const& vrf, VlanFacts const& facts, Machine machine) {
   size_t const own = vrf.vlanId == facts.vlanId ? 1 : 0;
   size_t const others = machine == Machine::dataflow ? facts.vrfs.size() - own : 0;
   return others + (1 - own) + (vrf.isTransit ? 0 : 1);
}

void addChangesFor(KnownVrf const& vrf, VlanFacts const& facts, Machine machine,
                   Changes& changes) {
   if (machine == Machine::dataflow) {
      for (auto const& other : facts.vrfs) {
         if (other.name != vrf.name) {
            changes.push_back(unmapping(other.name));
         }
      }
   }
   if (vrf.vlanId != facts.vlanId) {
      auto text = fmt::format("VRF {} mapped to it", nameForPeople(vrf.name));
      if (vrf.vlanId != 0) {
         text += fmt::format(" and not to VLAN {}", vrf.vlanId);
      }
      changes.push_back(
         change(std::move(text), "add", mappingPath(vrf.name), facts.vlanId));
   }
   if (!vrf.isTransit) {
      changes.push_back(becomingTransit(vrf.name));
   }
}

std::string newVrfName(std::vector<KnownVrf> const& known) {
   std::string name = "new";
   while (std::ranges::find(known, name, &KnownVrf::name) != known.end()) {
      name += '-';
   }
   return name;
}

} // namespace

VlanFacts factsOf(uint16_t vlanId, SbdVlans const& vlans, State const& state,
                  Options const& options) {
   return {vlanId,
           state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1")) != nullptr,
           vlans.vrfsOf(vlanId),
           state.pegVlanStatus->pegVlan().contains(vlanId),
           static_cast<uint32_t>(state.mlagStatus->mlagState()),
           options.af,
           joinsEnabled()};
}

std::vector<Condition> conditionsOf(VlanFacts const& facts, Machine machine) {
   bool const isReactor = machine == Machine::reactor;
   auto const& vrfs = facts.vrfs;
   std::vector<Condition> conditions;
   auto const add = [&](std::string_view type, bool status, std::string_view holds,
                        std::string_view fails, std::string message,
                        Condition::For neededFor = Condition::For::both) {
      conditions.push_back(
         {type, status, status ? holds : fails, std::move(message), neededFor});
   };
   if (isReactor) {
      bool const isIpv4 = facts.af == Lidra::AddressFamily::ipv4;
      add("FamilyHandled", isIpv4, "Ipv4", "NotIpv4",
          isIpv4 ? "the family is ipv4" : "TransitSm works for ipv4 only");
   }
   add("StatusPresent", facts.hasStatus, "Vxlan1Present", "Vxlan1Absent",
       facts.hasStatus ? "\"Vxlan1\" has a status" : "\"Vxlan1\" has no status");
   add("VrfMapped", !vrfs.empty(), "Mapped", "NoVrf",
       vrfs.empty() ? "no VRF maps here" : "mapped here: " + names(vrfs));
   if (!isReactor) {
      add("VrfAlone", vrfs.size() <= 1, "NotShared", "SharedByVrfs",
          vrfs.size() <= 1 ? "not shared by VRFs"
                           : fmt::format("shared by {} VRFs", vrfs.size()));
   }
   bool const isTransit = anyTransit(facts);
   add("TransitVrf", isTransit, "TransitVrfMapped",
       vrfs.empty() ? "NoVrf" : "NotTransitVrf",
       vrfs.empty() ? "no transit VRF maps here"
       : isTransit
          ? fmt::format("{} is a transit VRF", nameForPeople(vrfs.front().name))
       : vrfs.size() == 1
          ? fmt::format("{} is no transit VRF", nameForPeople(vrfs.front().name))
          : "none of them is a transit VRF");
   if (!isReactor) {
      add("PegVlan", facts.isPegVlan, "PegVlanPresent", "NotPegVlan",
          fmt::format("VLAN {} is {} PEG VLAN", facts.vlanId,
                      facts.isPegVlan ? "a" : "no"));
   } else {
      add("JoinsOn", facts.joinsEnabled, "ToggleOn", "ToggleOff",
          fmt::format("the toggle McastVpnTransitMlag is {}",
                      facts.joinsEnabled ? "on" : "off"),
          Condition::For::join);
   }
   bool const isWithheld = facts.mlagState == kWithheld;
   add("NotWithheld", !isWithheld, "MlagStateAllows", "WithheldByMlagState",
       isWithheld ? "withheld by MLAG state 4; the join stays"
                  : fmt::format("MLAG state {} withholds nothing", facts.mlagState),
       Condition::For::intf);
   return conditions;
}

Verdict verdictOf(std::vector<Condition> const& conditions) {
   Verdict verdict{true, true};
   for (auto const& each : conditions) {
      verdict.join &= each.status || each.neededFor == Condition::For::intf;
      verdict.intf &= each.status || each.neededFor == Condition::For::join;
   }
   return verdict;
}

std::vector<KnownVrf> knownVrfs(State const& state) {
   std::map<std::string, KnownVrf> known;
   auto const at = [&](L3::VrfName const& name) -> KnownVrf& {
      std::string const text(name.view());
      return known.try_emplace(text, KnownVrf{text, false, 0}).first->second;
   };
   for (auto const& entry : state.mcastEvpnConfig->transitVrf()) {
      at(entry.key()).isTransit = true;
   }
   if (auto const status = state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))) {
      for (auto const& entry : status->vrfToSBDVlan()) {
         at(entry.key()).vlanId = entry.value().value();
      }
   }
   std::vector<KnownVrf> result;
   std::ranges::transform(known, std::back_inserter(result),
                          [](auto const& entry) { return entry.second; });
   return result;
}

std::vector<Changes> smallestToEnable(VlanFacts const& facts, Machine machine,
                                      std::vector<KnownVrf> const& known) {
   if (machine == Machine::reactor &&
       (facts.af != Lidra::AddressFamily::ipv4 || !facts.joinsEnabled)) {
      return {}; // no input turns these
   }
   auto candidates = known;
   // Those first that are taken from no other VLAN.
   std::ranges::stable_partition(candidates, [&](KnownVrf const& vrf) {
      return vrf.vlanId == 0 || vrf.vlanId == facts.vlanId;
   });
   if (candidates.empty()) {
      candidates.push_back({newVrfName(known), false, 0});
   }
   size_t least = std::numeric_limits<size_t>::max();
   for (auto const& vrf : candidates) {
      least = std::min(least, costOf(vrf, facts, machine));
   }
   if (machine == Machine::reactor && anyTransit(facts)) {
      least = 0;
   }
   std::vector<Changes> sets;
   for (auto const& vrf : candidates) {
      if (costOf(vrf, facts, machine) == least) {
         auto changes = changesApartFromVrfs(facts, machine);
         addChangesFor(vrf, facts, machine, changes);
         sets.push_back(std::move(changes));
         if (least == 0) {
            break; // the others would be the same
         }
      }
   }
   return sets;
}

Changes toDisable(VlanFacts const& facts, Machine machine,
                  std::vector<KnownVrf> const& known) {
   Changes changes;
   if (!verdictOf(conditionsOf(facts, machine)).intf) {
      return changes;
   }
   auto const isTransit = [](auto const& vrf) { return vrf.isTransit; };
   if (std::ranges::count_if(facts.vrfs, isTransit) == 1) {
      auto const& vrf = facts.vrfs.front().name;
      changes.push_back(unmapping(vrf));
      changes.push_back(
         change(fmt::format("VRF {} were no transit VRF", nameForPeople(vrf)), "remove",
                transitPath(vrf)));
   }
   if (machine == Machine::dataflow) {
      changes.push_back(change(fmt::format("VLAN {} were no PEG VLAN", facts.vlanId),
                               "remove", pegPath(facts.vlanId)));
      changes.push_back(change("another VRF mapped to it", "add",
                               mappingPath(newVrfName(known)), facts.vlanId));
   }
   changes.push_back(mlagStateChange(kWithheld));
   changes.push_back(change("\"Vxlan1\" had no status", "remove", statusPath()));
   return changes;
}

} // namespace Agent
