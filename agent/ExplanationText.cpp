#include "agent/ExplanationText.h"

#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/OutputKey.h"
#include "agent/Terminal.h"

#include <fmt/color.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace Agent {

using nlohmann::ordered_json;
using Verify::Machine;

namespace {

constexpr int kExplanationSchema = 1;
constexpr size_t kChangesShown = 6; // of one way, to people
constexpr std::array kMachines{Machine::dataflow, Machine::reactor};

ordered_json toJson(Changes const& changes) {
   auto list = ordered_json::array();
   for (auto const& change : changes) {
      list.push_back({{"text", change.text}, {"operation", change.operation}});
   }
   return list;
}

ordered_json toJson(Explanation const& explanation) {
   auto conditions = ordered_json::array();
   for (auto const& each : explanation.conditions) {
      conditions.push_back({{"type", each.type},
                            {"status", each.status},
                            {"reason", each.reason},
                            {"message", each.message}});
   }
   auto enabling = ordered_json::array();
   if (!explanation.verdict.intf) {
      for (auto const& set : explanation.enabling.sets) {
         enabling.push_back(toJson(set));
      }
   }
   return {{"transitInterface", explanation.verdict.intf},
           {"join", explanation.verdict.join},
           {"conditions", std::move(conditions)},
           {"enabledBy", std::move(enabling)},
           {"moreWays", explanation.verdict.intf ? 0 : explanation.enabling.more},
           {"disabledBy", toJson(explanation.disabling)},
           {"outputsAgree", explanation.agrees}};
}

ordered_json textOrNull(std::string const& text) {
   return text.empty() ? ordered_json() : ordered_json(text);
}

std::string joined(std::vector<std::string> const& parts, std::string_view between) {
   return fmt::format("{}", fmt::join(parts, between));
}

std::string wayText(Changes const& changes) {
   std::vector<std::string> texts;
   size_t const shown =
      changes.size() > kChangesShown ? kChangesShown - 1 : changes.size();
   std::ranges::transform(changes.begin(),
                          changes.begin() + static_cast<std::ptrdiff_t>(shown),
                          std::back_inserter(texts), &Change::text);
   if (shown != changes.size()) {
      texts.push_back(fmt::format("{} more changes were made", changes.size() - shown));
   }
   return joined(texts, " and ");
}

// One of the ways a line, after what they do.
std::string oneOf(std::string_view verb, std::vector<std::string> const& ways) {
   return fmt::format("{:17}{} if {}\n", "", verb,
                      joined(ways, fmt::format("\n{:{}}or ", "", 18 + verb.size())));
}

// What would turn the verdict.
std::string turning(Explanation const& explanation) {
   std::string text;
   if (!explanation.verdict.intf) {
      auto const& [sets, more] = explanation.enabling;
      std::vector<std::string> ways;
      std::ranges::transform(sets, std::back_inserter(ways), wayText);
      if (more != 0) {
         ways.push_back(fmt::format("in {} more ways", more));
      }
      text = ways.empty() ? fmt::format("{:17}no change of the inputs enables it\n", "")
                          : oneOf("enabled", ways);
   }
   if (!explanation.disabling.empty()) {
      std::vector<std::string> ways;
      std::ranges::transform(explanation.disabling, std::back_inserter(ways),
                             &Change::text);
      text += oneOf(explanation.verdict.intf ? "disabled" : "without join", ways);
   }
   return text;
}

std::string verdictText(Explanation const& explanation) {
   auto const& verdict = explanation.verdict;
   return verdict.intf && verdict.join
             ? "transit interface from " + explanation.addr + ", and join"
          : verdict.intf ? "transit interface from " + explanation.addr + ", no join"
          : verdict.join ? "join, no transit interface"
                         : "no transit interface, no join";
}

// "written by change 3: add /pegVlanStatus/pegVlan/10".
std::string causeText(InputChange const* cause) {
   if (cause == nullptr) {
      return "written before the start";
   }
   bool const isStart = !cause->isAnotherWriter && cause->number == 0;
   return (isStart ? "written at " : "written by ") + cause->text();
}

ordered_json causeToJson(std::string const& key, Provenance const& provenance) {
   auto const* const cause = provenance.causeOf(key);
   return cause == nullptr ? ordered_json() : cause->toJson();
}

class Blocks {
 public:
   Blocks(Explainer const& explainer, bool colour, Provenance const* provenance)
      : explainer_(explainer), colour_(colour), provenance_(provenance) {}

   std::string blockOf(uint16_t vlanId) const {
      auto const& vrfs = explainer_.vlans().vrfsOf(vlanId);
      std::string text =
         styled(fmt::emphasis::bold,
                fmt::format("VLAN {}  {}", vlanId,
                            vrfs.empty() ? "of no VRF" : "of " + vrfsText(vrfs)));
      text += '\n';
      std::vector<Explanation> explanations;
      explanations.reserve(kMachines.size());
      for (auto const machine : kMachines) {
         explanations.push_back(explainer_.explanation(vlanId, machine));
      }
      for (bool const holds : {false, true}) {
         text += conditionsText(explanations, holds);
      }
      for (auto const& each : explanations) {
         text += fmt::format("  {:<13}  {}\n{}", machineName(each.machine),
                             verdictText(each), turning(each));
      }
      return text + outputsText(vlanId, explanations) + causesText(vlanId) + '\n';
   }

 private:
   std::string styled(fmt::text_style style, std::string const& text) const {
      return colour_ ? fmt::format(style, "{}", text) : text;
   }

   // A condition of both machines is shown once.
   std::string conditionsText(std::vector<Explanation> const& explanations,
                              bool holds) const {
      std::string text;
      for (auto const& own : explanations) {
         for (auto const& each : own.conditions) {
            bool const isDataflow = own.machine == Machine::dataflow;
            auto const& others = explanations[isDataflow ? 1 : 0].conditions;
            bool const isShared =
               std::ranges::find(others, each.type, &Condition::type) != others.end();
            if (each.status != holds || (isShared && !isDataflow)) {
               continue;
            }
            auto line = fmt::format("  {}  {:<13}  {}", holds ? "yes" : "no ",
                                    each.type, each.message);
            line += isShared ? "" : fmt::format(" ({} only)", machineName(own.machine));
            text += styled(holds ? fmt::text_style(fmt::emphasis::faint)
                                 : fmt::fg(fmt::terminal_color::yellow),
                           line) +
                    '\n';
         }
      }
      return text;
   }

   std::string outputsText(uint16_t vlanId,
                           std::vector<Explanation> const& explanations) const {
      auto const intf = explainer_.present(intfKeyOf(vlanId));
      auto const join = explainer_.present(Verify::joinKey(vlanId));
      std::vector<std::string> parts;
      if (!intf.empty()) {
         parts.push_back("transit interface from " + intf);
      }
      if (!join.empty()) {
         parts.push_back("join " + join);
      }
      std::vector<std::string> agreeing;
      for (auto const& each : explanations) {
         if (each.agrees) {
            agreeing.emplace_back(machineName(each.machine));
         }
      }
      return fmt::format("  {:<13}  {}; {}\n", "In the state",
                         parts.empty() ? "nothing" : joined(parts, ", "),
                         agreeing.empty() ? "neither machine agrees"
                         : agreeing.size() == 2
                            ? "both machines agree"
                            : "only " + agreeing.front() + " agrees");
   }

   // What wrote the outputs, below what they hold.
   std::string causesText(uint16_t vlanId) const {
      if (provenance_ == nullptr) {
         return {};
      }
      std::vector<std::string> whats;
      std::vector<std::string> causes;
      for (auto const& [what, key] :
           {std::pair{"transit interface ", intfKeyOf(vlanId)},
            {"join ", Verify::joinKey(vlanId)}}) {
         if (!explainer_.present(key).empty()) {
            whats.emplace_back(what);
            causes.push_back(causeText(provenance_->causeOf(key)));
         }
      }
      if (causes.size() == 2 && causes[0] == causes[1]) {
         whats = {"both "};
         causes.pop_back();
      }
      std::string text;
      for (size_t i = 0; i < causes.size(); ++i) {
         text += fmt::format("{:17}{}{}\n", "", whats[i], causes[i]);
      }
      return text;
   }

   Explainer const& explainer_;
   bool colour_;
   Provenance const* provenance_;
};

} // namespace

std::string explanationJson(Explainer const& explainer, Provenance const* provenance) {
   auto list = ordered_json::array();
   for (auto const vlan : explainer.chosen()) {
      auto vrfs = ordered_json::array();
      for (auto const& vrf : explainer.vlans().vrfsOf(vlan)) {
         vrfs.push_back({{"name", vrf.name}, {"transit", vrf.isTransit}});
      }
      ordered_json machines;
      for (auto const machine : kMachines) {
         machines[std::string(machineName(machine))] =
            toJson(explainer.explanation(vlan, machine));
      }
      auto const intf = intfKeyOf(vlan);
      auto const join = Verify::joinKey(vlan);
      ordered_json outputs{{"transitInterface", textOrNull(explainer.present(intf))},
                           {"join", textOrNull(explainer.present(join))}};
      if (provenance != nullptr) {
         outputs["cause"] = {{"transitInterface", causeToJson(intf, *provenance)},
                             {"join", causeToJson(join, *provenance)}};
      }
      list.push_back({{"vlan", vlan},
                      {"vrfs", std::move(vrfs)},
                      {"machines", std::move(machines)},
                      {"outputs", std::move(outputs)}});
   }
   auto strangers = ordered_json::array();
   for (auto const& [name, addr] : explainer.strangers()) {
      strangers.push_back({{"intf", name}, {"ipAddr", addr}});
      if (provenance != nullptr) {
         strangers.back()["cause"] = causeToJson(Verify::intfKey(name), *provenance);
      }
   }
   auto outOfRange = ordered_json::array();
   for (auto const& [vrf, vlanId] : explainer.outOfRange()) {
      outOfRange.push_back({{"vrf", vrf}, {"sbdVlan", vlanId}});
   }
   return jsonText(ordered_json{{"schemaVersion", kExplanationSchema},
                                {"vlans", std::move(list)},
                                {"ofNoVlan", std::move(strangers)},
                                {"outOfRange", std::move(outOfRange)}},
                   2) +
          '\n';
}

std::string explanationText(Explainer const& explainer, bool colour,
                            Provenance const* provenance) {
   Blocks const blocks(explainer, colour, provenance);
   std::string result;
   auto const chosen = explainer.chosen();
   for (auto const vlan : chosen) {
      result += blocks.blockOf(vlan);
   }
   for (auto const& [name, addr] : explainer.strangers()) {
      result +=
         fmt::format("Interface {} from {} belongs to no VLAN: another writer's, "
                     "which TransitIntfSm removes at its start, and TransitSm "
                     "never.\n",
                     nameForPeople(name), addr);
   }
   for (auto const& [vrf, vlanId] : explainer.outOfRange()) {
      result +=
         fmt::format("VRF {} maps to {}, which is no VLAN: no machine starts with "
                     "that.\n",
                     nameForPeople(vrf), vlanId);
   }
   for (auto const& name : explainer.unmapped()) {
      result += fmt::format("VRF {} maps to no SBD VLAN.\n", nameForPeople(name));
   }
   if (result.empty()) {
      return "No VRF is mapped to an SBD VLAN.\n";
   }
   if (result.ends_with("\n\n")) {
      result.pop_back();
   }
   return result;
}

} // namespace Agent
