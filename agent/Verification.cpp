#include "agent/Verification.h"

#include "agent/SbdVlans.h"
#include "pelk/Printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace Agent {

namespace {

using Pointer = nlohmann::json::json_pointer;

// "/transitIntfColl/intf/Vlan10/ipAddr" is below "/transitIntfColl/intf/Vlan10".
Pointer memberOf(Pointer pointer) {
   while (!pointer.parent_pointer().parent_pointer().parent_pointer().empty()) {
      pointer.pop_back();
   }
   return pointer;
}

std::string keyOf(std::string const& path) {
   auto const member = memberOf(Pointer(path));
   return (path.starts_with("/transitIntfColl/") ? "intf " : "join ") + member.back();
}

std::string pathOf(std::string const& key) {
   auto const name = key.substr(key.find(' ') + 1);
   return (key.starts_with("intf ") ? Pointer("/transitIntfColl/intf") / name
                                    : Pointer("/membershipJoinStatus/vlan") / name)
      .to_string();
}

Verify::Verifier::Subject subjectOf(Options const& options, State const& state) {
   return {options.machine,
           options.af,
           joinsEnabled(),
           {state.mcastEvpnConfig, state.vtiStatusDir, state.mlagStatus,
            state.pegVlanStatus},
           state.transitIntfColl,
           state.membershipJoinStatus};
}

void say(std::string const& text) {
   std::fflush(stdout);
   fmt::print(stderr, "mcastvpn-agent: --verify: {}\n", text);
}

} // namespace

Verification::Verification(Options const& options, State const& state)
   : state_(state), verifier_(subjectOf(options, state)) {}

void Verification::starting() {
   verifier_.starting();
   recorders_.clear();
   for (auto const& member : state_.members()) {
      if (member.isOutput) {
         recorders_.push_back(std::make_unique<OutputRecorder>(
            member.name, member.entity, [this](auto const& operation) {
               if (isByAnother_) {
                  verifier_.written(
                     keyOf(operation.at("path").template get<std::string>()));
               }
            }));
      }
   }
}

void Verification::stopped() {
   verifier_.stopped();
   recorders_.clear();
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
                   Pelk::printable(pathOf(difference.key)),
                   Pelk::printable(difference.is), difference.should, verdict));
}

void Verification::summarize() const {
   say(fmt::format("{} comparison{}, {} error{}, {} path-dependent difference{}",
                   comparisons_, comparisons_ == 1 ? "" : "s", errors_,
                   errors_ == 1 ? "" : "s", excused_, excused_ == 1 ? "" : "s"));
}

} // namespace Agent
