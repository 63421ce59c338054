#include "agent/Verification.h"

#include "agent/MachineNames.h"
#include "agent/OutputKey.h"
#include "agent/SbdVlans.h"
#include "agent/Streams.h"
#include "pelk/Printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace Agent {

namespace {

Verify::Verifier::Subject subjectOf(Options const& options, State const& state) {
   return {options.machine,
           options.af,
           joinsEnabled(),
           {state.mcastEvpnConfig, state.vtiStatusDir, state.mlagStatus,
            state.pegVlanStatus},
           state.transitIntfColl,
           state.membershipJoinStatus};
}

} // namespace

Verification::Verification(Options const& options, State const& state)
   : state_(state), verifier_(subjectOf(options, state)),
     machine_(options.both ? machineName(options.machine) : "") {}

void Verification::starting() {
   verifier_.starting();
   recorder_.emplace(state_, [this](auto const& operation) {
      if (isByAnother_) {
         verifier_.written(
            outputKeyOf(operation.at("path").template get<std::string>()));
      }
   });
}

void Verification::stopped() {
   verifier_.stopped();
   recorder_.reset();
   known_.clear();
}

void Verification::compare(std::string const& where, std::string const& stall) {
   ++comparisons_;
   if (!stall.empty()) {
      ++errors_;
      say(where + stall);
      return;
   }
   auto found = verifier_.differences();
   for (auto const& difference : found) {
      if (std::ranges::find(known_, difference) == known_.end()) {
         report(where, difference);
      }
   }
   known_ = std::move(found);
}

void Verification::say(std::string const& text) const {
   printMessage(fmt::format("mcastvpn-agent: --verify: {}{}{}\n", machine_,
                            machine_.empty() ? "" : ": ", text));
}

void Verification::report(std::string const& where,
                          Verify::Difference const& difference) {
   std::string verdict = "an error of the machine";
   if (difference.excuse == nullptr) {
      ++errors_;
   } else {
      ++excused_;
      verdict = fmt::format("path-dependent, {}: {}", difference.excuse->name,
                            difference.excuse->what);
   }
   say(fmt::format("{}{}: {} stands here; the plain rule says {}; {}", where,
                   Pelk::printable(outputPathOf(difference.key)),
                   Pelk::printable(difference.is), difference.should, verdict));
}

void Verification::summarize() const {
   say(fmt::format("{} comparison{}, {} error{}, {} path-dependent difference{}",
                   comparisons_, comparisons_ == 1 ? "" : "s", errors_,
                   errors_ == 1 ? "" : "s", excused_, excused_ == 1 ? "" : "s"));
}

} // namespace Agent
