#include "agent/Conditions.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using Verify::Machine;

constexpr uint32_t kWithheld = static_cast<uint32_t>(Mlag::MlagState::withheld);

// Where the message names what stands in the same row anyway.
struct Brief {
   std::string_view type;
   std::string_view text;
};
constexpr std::array kBrief{Brief{"TransitVrf", "no transit VRF"},
                            Brief{"PegVlan", "no PEG VLAN"},
                            Brief{"NotWithheld", "withheld by the MLAG state"}};

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

bool isVlanNumber(uint16_t vlanId) {
   return vlanId != 0 && vlanId <= Bridging::VlanId::kMax;
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

// The VRFs that suffice with the fewest changes, as many as are asked for.
class Candidates {
 public:
   Candidates(VlanFacts const& facts, Machine machine, KnownVrfs const& known,
              size_t most)
      : facts_(facts), most_(most) {
      bool const isReactor = machine == Machine::reactor;
      size_t const own = facts.vrfs.size();
      // Mapping another VRF takes one change, making it a transit VRF one more; a VLAN
      // of the dataflow machine gives up the ones it has.
      size_t const others = isReactor ? 0 : own;
      bool const hasOther = own < known.all().size();
      size_t const other = hasOther && otherTransit(known) ? others + 1 : others + 2;
      size_t least = other;
      for (auto const& vrf : facts.vrfs) {
         least = std::min(least, costOfOwn(vrf, isReactor));
      }
      for (auto const& vrf : facts.vrfs) {
         if (costOfOwn(vrf, isReactor) == least) {
            add({vrf.name, vrf.isTransit, facts.vlanId});
            if (least == 0) {
               return; // nothing to change, whichever it is
            }
         }
      }
      if (least == other) {
         addOthers(known, other == others + 1);
      }
   }

   std::vector<KnownVrf> const& vrfs() const noexcept { return vrfs_; }
   size_t more() const noexcept { return count_ - vrfs_.size(); }

 private:
   size_t costOfOwn(SbdVlans::Vrf const& vrf, bool isReactor) const {
      return (isReactor ? 0 : facts_.vrfs.size() - 1) + (vrf.isTransit ? 0 : 1);
   }

   size_t ownWithTransit(bool isTransit) const {
      return static_cast<size_t>(
         std::ranges::count(facts_.vrfs, isTransit, &SbdVlans::Vrf::isTransit));
   }
   bool otherTransit(KnownVrfs const& known) const {
      return known.withTransit(true).size() > ownWithTransit(true);
   }

   void addOthers(KnownVrfs const& known, bool isTransit) {
      auto const& others = known.withTransit(isTransit);
      auto at = others.begin();
      for (; at != others.end() && (*at)->vlanId == 0 && vrfs_.size() < most_; ++at) {
         add(**at);
      }
      if (!isTransit) {
         add({known.newName(), false, 0});
      }
      for (; at != others.end() && vrfs_.size() < most_; ++at) {
         if ((*at)->vlanId != facts_.vlanId) {
            add(**at);
         }
      }
      count_ += static_cast<size_t>(others.end() - at);
      // The VLAN's own were not offered; they may stand among those not looked at.
      for (; at != others.end(); ++at) {
         count_ -= (*at)->vlanId == facts_.vlanId ? 1 : 0;
      }
   }

   void add(KnownVrf vrf) {
      ++count_;
      if (vrfs_.size() < most_) {
         vrfs_.push_back(std::move(vrf));
      }
   }

   VlanFacts const& facts_;
   size_t const most_;
   std::vector<KnownVrf> vrfs_;
   size_t count_ = 0;
};

} // namespace

VlanFacts factsOf(uint16_t vlanId, SbdVlans const& vlans, State const& state,
                  Options const& options) {
   return {vlanId,
           state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1")) != nullptr,
           vlans.vrfsOf(vlanId),
           isVlanNumber(vlanId) && state.pegVlanStatus->pegVlan().contains(vlanId),
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
       vrfs.empty() ? "no VRF maps here"
                    : "mapped here: " + vrfsText(vrfs, MarkTransit::no));
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
       isWithheld ? verdictOf(conditions).join
                       ? "withheld by MLAG state 4; the join stays"
                       : "MLAG state 4 withholds the interface"
                  : fmt::format("MLAG state {} withholds nothing", facts.mlagState),
       Condition::For::intf);
   return conditions;
}

std::string whyNo(Condition::For output, VlanFacts const& facts, Machine machine) {
   for (auto const& each : conditionsOf(facts, machine)) {
      if (!each.status &&
          (each.neededFor == Condition::For::both || each.neededFor == output)) {
         auto const* const brief = std::ranges::find(kBrief, each.type, &Brief::type);
         return brief == kBrief.end() ? each.message : std::string(brief->text);
      }
   }
   return "";
}

Verdict verdictOf(std::vector<Condition> const& conditions) {
   Verdict verdict{true, true};
   for (auto const& each : conditions) {
      verdict.join &= each.status || each.neededFor == Condition::For::intf;
      verdict.intf &= each.status || each.neededFor == Condition::For::join;
   }
   return verdict;
}

KnownVrfs::KnownVrfs(State const& state) {
   auto const at = [&](L3::VrfName const& name) -> KnownVrf& {
      std::string const text(name.view());
      return all_.try_emplace(text, KnownVrf{text, false, 0}).first->second;
   };
   for (auto const& entry : state.mcastEvpnConfig->transitVrf()) {
      at(entry.key()).isTransit = true;
   }
   if (auto const status = state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))) {
      for (auto const& entry : status->vrfToSBDVlan()) {
         at(entry.key()).vlanId = entry.value().value();
      }
   }
   for (bool const isMapped : {false, true}) {
      for (auto const& [name, vrf] : all_) {
         if ((vrf.vlanId != 0) == isMapped) {
            byTransit_[vrf.isTransit ? 1 : 0].push_back(&vrf);
         }
      }
   }
   while (all_.contains(newName_)) {
      newName_ += '-';
   }
}

Ways smallestToEnable(VlanFacts const& facts, Machine machine, KnownVrfs const& known,
                      size_t most) {
   if (machine == Machine::reactor && facts.af != Lidra::AddressFamily::ipv4) {
      return {{}, 0}; // no input turns this
   }
   Candidates const candidates(facts, machine, known, most);
   Ways ways{{}, candidates.more()};
   for (auto const& vrf : candidates.vrfs()) {
      auto changes = changesApartFromVrfs(facts, machine);
      addChangesFor(vrf, facts, machine, changes);
      ways.sets.push_back(std::move(changes));
   }
   return ways;
}

Changes toDisable(VlanFacts const& facts, Machine machine, KnownVrfs const& known) {
   Changes changes;
   auto const verdict = verdictOf(conditionsOf(facts, machine));
   if (!verdict.intf && !verdict.join) {
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
                               mappingPath(known.newName()), facts.vlanId));
   }
   if (verdict.intf) {
      changes.push_back(mlagStateChange(kWithheld));
   }
   changes.push_back(change("\"Vxlan1\" had no status", "remove", statusPath()));
   return changes;
}

} // namespace Agent
