#include "agent/Comparison.h"

#include "agent/Conditions.h"
#include "agent/OutputKey.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace Agent {

namespace {

using Verify::ExpectedDifference;
using Verify::Machine;
using Verify::standsAt;
namespace Expected = Verify::Expected;

using Verify::kNothing;

void add(Reasons& reasons, ExpectedDifference const& reason) {
   if (std::ranges::find(reasons, &reason) == reasons.end()) {
      reasons.push_back(&reason);
   }
}

// --- what stands there --------------------------------------------------------

// One machine, and where it departs from its rule.
struct Side {
   Machine machine;
   Verify::Verifier::Findings const& findings;
   std::map<std::string, ExpectedDifference const*> excuses; // null: it is wrong

   Side(Machine of, Verify::Verifier::Findings const& found)
      : machine(of), findings(found) {
      for (auto const& each : findings.differences) {
         excuses[each.key] = reasonOf(each.excuse);
      }
   }

   // False if the machine is wrong there.
   bool addExcuse(std::string const& key, Reasons& reasons) const {
      auto const excuse = excuses.find(key);
      if (excuse != excuses.end() && excuse->second != nullptr) {
         add(reasons, *excuse->second);
      }
      return excuse == excuses.end() || excuse->second != nullptr;
   }

 private:
   static ExpectedDifference const* reasonOf(Verify::PathDependence const* excuse) {
      for (auto const* const each : Expected::kAll) {
         if (excuse != nullptr && each->path == excuse) {
            return each;
         }
      }
      return nullptr;
   }
};

// The conditions that keep an output from a VLAN with this machine's rule, and that the
// other rule has not.
void addConditions(Side const& side, std::string const& key, VlanFacts const& facts,
                   Reasons& reasons) {
   auto const output = isJoinKey(key) ? Condition::For::join : Condition::For::intf;
   for (auto const& condition : conditionsOf(facts, side.machine)) {
      bool const isNeeded =
         condition.neededFor == Condition::For::both || condition.neededFor == output;
      for (auto const* const each : Expected::kAll) {
         if (isNeeded && !condition.status && each->condition != nullptr &&
             condition.type == each->condition) {
            add(reasons, *each);
         }
      }
   }
}

// --- how it came to stand there ------------------------------------------------

// What a machine did to one of its outputs.
struct OutputStep {
   bool isRemoval;
   std::string path;
   std::string text;

   bool operator==(OutputStep const& other) const noexcept {
      return text == other.text;
   }
};
struct Track {
   size_t place = 0; // among the outputs, by their first steps
   std::vector<OutputStep> steps;

   bool hasRemoval() const {
      return std::ranges::any_of(steps, &OutputStep::isRemoval);
   }
   bool removesLeaf() const {
      return std::ranges::any_of(steps, [](OutputStep const& step) {
         return step.isRemoval && step.path.find("Intf/") != std::string::npos;
      });
   }
   std::string text() const {
      std::vector<std::string_view> texts;
      texts.reserve(steps.size());
      for (auto const& step : steps) {
         texts.push_back(step.text);
      }
      return texts.empty() ? kNothing : fmt::format("{}", fmt::join(texts, ", "));
   }
};

using Tracks = std::map<std::string, Track>;

Tracks tracksOf(Operations const& operations) {
   Tracks tracks;
   for (auto const& each : operations) {
      auto path = each.at("path").get<std::string>();
      auto const key = outputKeyOf(path);
      auto& track = tracks.try_emplace(key, Track{tracks.size(), {}}).first->second;
      track.steps.push_back({each.at("op") == "remove", std::move(path), each.dump()});
   }
   return tracks;
}

// The steps of a join where each run of removals that goes up to the VLAN counts as the
// removal of the VLAN. Such a run begins at the machines' own leaf, or above it; at a
// start it may remove others' leaves, too.
std::vector<OutputStep> inOnePiece(std::vector<OutputStep> const& steps,
                                   std::string const& vlan, bool hasStart) {
   auto const source = vlan + "/group/0.0.0.0/source/0.0.0.0";
   std::set<std::string> const own{source + "/includeIntf/Null0", source,
                                   vlan + "/group/0.0.0.0", vlan};
   auto const belongs = [&](OutputStep const& step) {
      return step.isRemoval && (hasStart || own.contains(step.path));
   };
   std::vector<OutputStep> pieces;
   for (size_t i = 0; i < steps.size(); ++i) {
      size_t end = i;
      while (end < steps.size() && belongs(steps[end]) && steps[end].path != vlan) {
         ++end;
      }
      if (end < steps.size() && belongs(steps[end])) {
         i = end; // it ends with the VLAN
      }
      pieces.push_back(steps[i]);
   }
   return pieces;
}

class WaysBeside {
 public:
   WaysBeside(Span const& span, std::set<std::string> const& differing)
      : span_(span), reactor_(tracksOf(span.reactor)),
        dataflow_(tracksOf(span.dataflow)) {
      auto keys = reactor_;
      keys.insert(dataflow_.begin(), dataflow_.end());
      for (auto const& [key, track] : keys) {
         if (!differing.contains(key)) {
            compareSteps(key);
         }
      }
      compareOrderInVlans();
      if (orderOfVlans(reactor_) != orderOfVlans(dataflow_)) {
         found_.push_back({&Expected::kOrderOfVlans, "another order of VLANs"});
      }
   }

   std::vector<ChangeDifference> found() && { return std::move(found_); }

 private:
   static Track trackOf(Tracks const& tracks, std::string const& key) {
      auto const found = tracks.find(key);
      return found == tracks.end() ? Track{} : found->second;
   }

   void compareSteps(std::string const& key) {
      auto const reactor = trackOf(reactor_, key);
      auto const dataflow = trackOf(dataflow_, key);
      if (!reactor.steps.empty() && !dataflow.steps.empty()) {
         common_.insert(key);
      }
      if (reactor.steps != dataflow.steps) {
         found_.push_back(
            {reasonOf(key, reactor, dataflow),
             fmt::format("{}: TransitSm did {}; TransitIntfSm did {}",
                         outputPathOf(key), reactor.text(), dataflow.text())});
      }
   }

   ExpectedDifference const* reasonOf(std::string const& key, Track const& reactor,
                                      Track const& dataflow) const {
      if (isJoinKey(key) &&
          reactor.steps ==
             inOnePiece(dataflow.steps, outputPathOf(key), span_.hasStart)) {
         return &Expected::kLevelByLevel;
      }
      bool const isDataflows = dataflow.steps.size() > reactor.steps.size();
      if (span_.touched->hasByStatus(vlanOfKey(key)) && isDataflows) {
         return &Expected::kStatusVrfByVrf;
      }
      if (span_.emptyLevels.contains(key) && dataflow.hasRemoval() &&
          !dataflow.removesLeaf() && !reactor.hasRemoval()) {
         return &Expected::kEmptyLevelPruned;
      }
      return interimStates(key);
   }

   ExpectedDifference const* interimStates(std::string const& key) const {
      bool const isConcerned =
         span_.touched->has(vlanOfKey(key)) || span_.foreign.contains(key);
      return span_.hasInterimStates && isConcerned ? &Expected::kInterimStates
                                                   : nullptr;
   }

   static bool isFirst(Tracks const& tracks, std::string const& one,
                       std::string const& other) {
      return tracks.at(one).place < tracks.at(other).place;
   }

   void compareOrderInVlans() {
      for (auto const& join : common_) {
         auto const vlanId = vlanOfKey(join);
         auto const intf = intfKeyOf(vlanId);
         if (!isJoinKey(join) || !common_.contains(intf)) {
            continue;
         }
         bool const isReactors = isFirst(reactor_, join, intf);
         if (isReactors != isFirst(dataflow_, join, intf)) {
            found_.push_back(
               {isReactors ? interimStates(join) : &Expected::kOrderInVlan,
                fmt::format("VLAN {}: TransitSm wrote the join before the interface",
                            vlanId)});
         }
      }
   }

   // Of those that both wrote.
   std::vector<uint16_t> orderOfVlans(Tracks const& tracks) const {
      std::map<uint16_t, size_t> places;
      for (auto const& key : common_) {
         auto const vlanId = vlanOfKey(key);
         if (vlanId != 0) {
            auto const place = tracks.at(key).place;
            auto& least = places.try_emplace(vlanId, place).first->second;
            least = std::min(least, place);
         }
      }
      std::vector<uint16_t> vlans;
      vlans.reserve(places.size());
      for (auto const& [vlanId, place] : places) {
         vlans.push_back(vlanId);
      }
      std::ranges::sort(vlans, {}, [&](uint16_t vlanId) { return places.at(vlanId); });
      return vlans;
   }

   Span const& span_;
   Tracks const reactor_;
   Tracks const dataflow_;
   std::set<std::string> common_; // written by both machines
   std::vector<ChangeDifference> found_;
};

} // namespace

OutputComparison compareOutputs(Host& reactor, Host& dataflow, Options const& options) {
   OutputComparison comparison{
      reactor.verifier().findings(), dataflow.verifier().findings(), {}};
   auto const& [one, other] = std::tie(comparison.reactor, comparison.dataflow);
   Side const first(Machine::reactor, one);
   Side const second(Machine::dataflow, other);
   SbdVlans const vlans(dataflow.state());
   Verify::Outputs keys = one.is;
   keys.insert(other.is.begin(), other.is.end());
   for (auto const& [key, text] : keys) {
      OutputDifference difference{
         key, standsAt(one.is, key), standsAt(other.is, key), {}};
      if (difference.reactor == difference.dataflow) {
         continue;
      }
      auto& reasons = difference.reasons;
      // Both, also where the first has none: each part is to be explained.
      bool const isExcused = first.addExcuse(key, reasons);
      bool isExplained = second.addExcuse(key, reasons) && isExcused;
      auto const ruleOfFirst = standsAt(one.should, key);
      auto const ruleOfSecond = standsAt(other.should, key);
      if (ruleOfFirst != ruleOfSecond) {
         size_t const before = reasons.size();
         addConditions(ruleOfFirst == kNothing ? first : second, key,
                       factsOf(vlanOfKey(key), vlans, dataflow.state(), options),
                       reasons);
         isExplained &= reasons.size() != before;
      }
      if (!isExplained) {
         reasons.clear();
      }
      comparison.differences.emplace(key, std::move(difference));
   }
   return comparison;
}

std::vector<ChangeDifference>
changeDifferences(Span const& span, std::set<std::string> const& differing) {
   return WaysBeside(span, differing).found();
}

} // namespace Agent
