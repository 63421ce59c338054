#include "agent/observe/Phase.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Agent {

using nlohmann::ordered_json;

std::string_view Phase::name() const noexcept {
   constexpr std::array<std::string_view, 4> kNames{"stopped", "scanning",
                                                    "reconciling", "ready"};
   return kNames[static_cast<size_t>(kind)];
}

size_t Phase::outputs() const noexcept {
   return static_cast<size_t>(std::ranges::count(isReconciled, true));
}

std::string Phase::text() const {
   switch (kind) {
      case Kind::scanning:
         return fmt::format("scanning: {} of {} inputs", scans, kScans);
      case Kind::reconciling:
         return fmt::format("reconciling: {} of {} outputs", outputs(), kOutputs);
      case Kind::stopped:
      case Kind::ready:
         break;
   }
   return std::string(name());
}

ordered_json Phase::toJson() const {
   return {{"phase", name()}, {"scans", scans}, {"outputs", outputs()}};
}

Phase phaseOf(Irb::Multicast::Evpn::TransitIntfSm const& machine) {
   if (machine.ready()) {
      return Phase::ready();
   }
   Phase phase{Phase::Kind::scanning, 0, {}};
   if (machine.initialScanDone()) {
      phase.kind = Phase::Kind::reconciling;
      phase.scans = Phase::kScans;
      if (auto const& state = machine.outputState()) {
         phase.isReconciled = {
            state->transitIntfCollIntfOutputReady(),
            state->membershipJoinStatusVlanRouterIntfOutputReady(),
            state->membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady(),
            state->membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady()};
      }
   } else if (auto const& scans = machine.inputSmScanState()) {
      auto const flags =
         std::array{scans->vtiStatusStreamScan(), scans->pegVlanStreamScan(),
                    scans->mlagStreamScan(), scans->vtepAddrChangeStreamScan(),
                    scans->transitCfgStreamScan()};
      phase.scans = static_cast<size_t>(std::ranges::count(flags, true));
   }
   return phase;
}

} // namespace Agent
