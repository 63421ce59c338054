#include "agent/Comparison.h"

#include "agent/Conditions.h"
#include "agent/OutputKey.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace Agent {

namespace {

using Verify::ExpectedDifference;
using Verify::Machine;
using Verify::standsAt;
namespace Expected = Verify::Expected;

constexpr char const* kNothing = "nothing";

void add(Reasons& reasons, ExpectedDifference const& reason) {
   if (std::ranges::find(reasons, &reason) == reasons.end()) {
      reasons.push_back(&reason);
   }
}

// --- what stands there --------------------------------------------------------

// One machine, its rule, and where it departs from that.
struct Side {
   Machine machine;
   Verify::Outputs should;
   std::map<std::string, Verify::Difference> departures;

   Side(Machine of, Host& host) : machine(of), should(host.verifier().expected()) {
      for (auto& each : host.verifier().differences()) {
         departures.emplace(each.key, std::move(each));
      }
   }

   std::string is(std::string const& key) const {
      auto const departure = departures.find(key);
      return departure == departures.end() ? standsAt(should, key)
                                           : departure->second.is;
   }

   // False if the machine is wrong there.
   bool addExcuse(std::string const& key, Reasons& reasons) const {
      auto const departure = departures.find(key);
      if (departure == departures.end()) {
         return true;
      }
      for (auto const* const each : Expected::kAll) {
         if (each->path != nullptr && each->path == departure->second.excuse) {
            add(reasons, *each);
            return true;
         }
      }
      return false;
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
         if (isNeeded && !condition.status && condition.type == each->condition) {
            add(reasons, *each);
         }
      }
   }
}

// --- how it came to stand there ------------------------------------------------

// What a machine did to one of its outputs.
struct Track {
   size_t place = 0; // among the outputs, by their first steps
   std::vector<std::string> steps;

   bool hasRemoval() const { return std::ranges::any_of(steps, isRemoval); }

   // With each run of removals, level by level, as the one that ends it.
   std::vector<std::string> inOnePiece() const {
      std::vector<std::string> pieces;
      for (size_t i = 0; i < steps.size(); ++i) {
         if (i + 1 == steps.size() || !isRemoval(steps[i]) ||
             !isRemoval(steps[i + 1])) {
            pieces.push_back(steps[i]);
         }
      }
      return pieces;
   }

   std::string text() const {
      return steps.empty() ? kNothing : fmt::format("{}", fmt::join(steps, ", "));
   }

 private:
   static bool isRemoval(std::string const& step) {
      return step.starts_with(R"({"op":"remove")");
   }
};

using Tracks = std::map<std::string, Track>;

Tracks tracksOf(Operations const& operations) {
   Tracks tracks;
   for (auto const& each : operations) {
      auto const key = outputKeyOf(each.at("path").get<std::string>());
      auto& track = tracks.try_emplace(key, Track{tracks.size(), {}}).first->second;
      track.steps.push_back(each.dump());
   }
   return tracks;
}

class WaysBeside {
 public:
   WaysBeside(Operations const& reactor, Operations const& dataflow,
              std::set<std::string> const& differing, Span const& span)
      : span_(span), reactor_(tracksOf(reactor)), dataflow_(tracksOf(dataflow)) {
      auto keys = reactor_;
      keys.insert(dataflow_.begin(), dataflow_.end());
      for (auto const& [key, track] : keys) {
         if (!differing.contains(key)) {
            compareSteps(key);
         }
      }
      compareOrderInVlans();
      if (orderOfVlans(reactor_) != orderOfVlans(dataflow_)) {
         found_.push_back({&Expected::kOrderOfVlans, 0, {}});
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
      if (reactor.steps == dataflow.steps) {
         return;
      }
      bool const isDataflows = dataflow.hasRemoval() && !reactor.hasRemoval();
      ExpectedDifference const* reason = nullptr;
      if (reactor.inOnePiece() == dataflow.inOnePiece()) {
         reason = &Expected::kLevelByLevel;
      } else if (span_.isStatusAnother) {
         reason = &Expected::kStatusVrfByVrf;
      } else if (span_.emptyLevels.contains(key) && isDataflows) {
         reason = &Expected::kEmptyLevelPruned;
      } else {
         reason = interimStates();
      }
      found_.push_back(
         {reason, vlanOfKey(key),
          fmt::format("{}: TransitSm did {}; TransitIntfSm did {}", outputPathOf(key),
                      reactor.text(), dataflow.text())});
   }

   ExpectedDifference const* interimStates() const {
      return span_.hasInterimStates ? &Expected::kInterimStates : nullptr;
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
               {isReactors ? interimStates() : &Expected::kOrderInVlan, vlanId,
                fmt::format("VLAN {}: TransitSm wrote the join before the interface",
                            vlanId)});
         }
      }
   }

   // Of those VLANs that both wrote.
   std::vector<uint16_t> orderOfVlans(Tracks const& tracks) const {
      std::map<uint16_t, size_t> places;
      for (auto const& key : common_) {
         auto const place = tracks.at(key).place;
         auto& least = places.try_emplace(vlanOfKey(key), place).first->second;
         least = std::min(least, place);
      }
      std::vector<uint16_t> vlans;
      for (auto const& [vlanId, place] : places) {
         vlans.push_back(vlanId);
      }
      std::ranges::sort(vlans, {}, [&](uint16_t vlanId) { return places.at(vlanId); });
      return vlans;
   }

   Span const span_;
   Tracks const reactor_;
   Tracks const dataflow_;
   std::set<std::string> common_; // written by both machines
   std::vector<ChangeDifference> found_;
};

} // namespace

std::vector<OutputDifference> outputDifferences(Host& reactor, Host& dataflow,
                                                Options const& options) {
   Side const one(Machine::reactor, reactor);
   Side const other(Machine::dataflow, dataflow);
   SbdVlans const vlans(dataflow.state());
   std::set<std::string> keys;
   for (auto const* side : {&one, &other}) {
      for (auto const& [key, text] : side->should) {
         keys.insert(key);
      }
      for (auto const& [key, departure] : side->departures) {
         keys.insert(key);
      }
   }
   std::vector<OutputDifference> found;
   for (auto const& key : keys) {
      OutputDifference difference{key, one.is(key), other.is(key), {}};
      if (difference.reactor == difference.dataflow) {
         continue;
      }
      auto& reasons = difference.reasons;
      auto const facts = factsOf(vlanOfKey(key), vlans, dataflow.state(), options);
      bool isExplained = one.addExcuse(key, reasons) && other.addExcuse(key, reasons);
      auto const ruleOfOne = standsAt(one.should, key);
      auto const ruleOfOther = standsAt(other.should, key);
      if (ruleOfOne != ruleOfOther) {
         size_t const before = reasons.size();
         addConditions(ruleOfOne == kNothing ? one : other, key, facts, reasons);
         isExplained &= reasons.size() != before;
      }
      if (!isExplained) {
         reasons.clear();
      }
      found.push_back(std::move(difference));
   }
   return found;
}

std::vector<ChangeDifference> changeDifferences(Operations const& reactor,
                                                Operations const& dataflow,
                                                std::set<std::string> const& differing,
                                                Span const& span) {
   return WaysBeside(reactor, dataflow, differing, span).found();
}

} // namespace Agent
