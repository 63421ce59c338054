#include "agent/Explainer.h"

#include "agent/OutputKey.h"
#include "agent/verify/DataflowRule.h"
#include "agent/verify/ReactorRule.h"
#include "bridging/VlanId.h"

#include <algorithm>

namespace Agent {

using Verify::Machine;

namespace {

constexpr size_t kWaysShown = 4;        // to people
constexpr size_t kWaysListed = 64;      // for programs
constexpr size_t kChangesListed = 4096; // in all these ways; one way is always whole

bool isVlan(uint16_t vlanId) {
   return vlanId != 0 && vlanId <= Bridging::VlanId::kMax;
}
std::string textAt(Verify::Outputs const& outputs, std::string const& key) {
   auto const found = outputs.find(key);
   return found == outputs.end() ? "" : found->second;
}

} // namespace

Explainer::Explainer(State const& state, Options const& options)
   : state_(state), options_(options), vlans_(state), known_(state),
     present_(Verify::outputsOf(*state.transitIntfColl, *state.membershipJoinStatus)),
     expected_{Verify::dataflowOutputs(inputs(), options.af),
               Verify::reactorOutputs(inputs(), options.af, joinsEnabled())} {}

std::set<uint16_t> Explainer::chosen() const {
   std::set<uint16_t> chosen(options_.vlans.begin(), options_.vlans.end());
   for (auto const& name : options_.vrfs) {
      chosen.insert(vlanOf(name));
   }
   if (options_.vlans.empty() && options_.vrfs.empty()) {
      for (auto const& [vlan, vrfs] : vlans_.vrfs()) {
         chosen.insert(vlan);
      }
      for (auto const& entry : state_.membershipJoinStatus->vlan()) {
         chosen.insert(entry.key());
      }
      for (auto const& entry : state_.transitIntfColl->intf()) {
         chosen.insert(vlanOfIntf(entry.key().stringValue()));
      }
   }
   std::erase_if(chosen, [](uint16_t vlanId) { return !isVlan(vlanId); });
   return chosen;
}

std::map<std::string, uint16_t> Explainer::outOfRange() const {
   std::map<std::string, uint16_t> found;
   for (auto const& [vlanId, vrfs] : vlans_.vrfs()) {
      for (auto const& vrf : vrfs) {
         if (!isVlan(vlanId) && isAskedFor(vrf.name)) {
            found[vrf.name] = vlanId;
         }
      }
   }
   return found;
}

std::map<std::string, std::string> Explainer::strangers() const {
   std::map<std::string, std::string> strangers;
   if (!isAskedFor({})) {
      return strangers;
   }
   for (auto const& entry : state_.transitIntfColl->intf()) {
      auto const name = entry.key().stringValue();
      if (vlanOfIntf(name) == 0) {
         strangers[name] = entry.value()->ipAddr().stringValue();
      }
   }
   return strangers;
}

std::vector<std::string> Explainer::unmapped() const {
   std::vector<std::string> names;
   std::ranges::copy_if(options_.vrfs, std::back_inserter(names),
                        [this](auto const& name) { return vlanOf(name) == 0; });
   return names;
}

std::string Explainer::present(std::string const& key) const {
   return textAt(present_, key);
}

Explanation Explainer::explanation(uint16_t vlanId, Machine machine) const {
   auto const facts = factsOf(vlanId, vlans_, state_, options_);
   auto conditions = conditionsOf(facts, machine);
   auto const verdict = verdictOf(conditions);
   auto const& expected = expected_[machine == Machine::dataflow ? 0 : 1];
   auto const intf = intfKeyOf(vlanId);
   auto const join = Verify::joinKey(vlanId);
   return {machine,
           std::move(conditions),
           verdict,
           textAt(expected, intf),
           smallestToEnable(facts, machine, known_, mostWays(facts)),
           toDisable(facts, machine, known_),
           textAt(expected, intf) == present(intf) &&
              textAt(expected, join) == present(join)};
}

// Without a name in the options, all are.
bool Explainer::isAskedFor(std::string const& vrf) const {
   return (options_.vlans.empty() && options_.vrfs.empty()) ||
          std::ranges::find(options_.vrfs, vrf) != options_.vrfs.end();
}

// A way has a change for each VRF of the VLAN.
size_t Explainer::mostWays(VlanFacts const& facts) const {
   return options_.json ? std::clamp(kChangesListed / (facts.vrfs.size() + 1),
                                     size_t{1}, kWaysListed)
                        : kWaysShown;
}

uint16_t Explainer::vlanOf(std::string const& vrf) const {
   auto const found = known_.all().find(vrf);
   return found == known_.all().end() ? 0 : found->second.vlanId;
}

Verify::Inputs Explainer::inputs() const {
   return {state_.mcastEvpnConfig, state_.vtiStatusDir, state_.mlagStatus,
           state_.pegVlanStatus};
}

} // namespace Agent
