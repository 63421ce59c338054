#pragma once

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Agent {

// The flags of a dataflow machine.
struct Flags {
   bool initialScanDone = false;
   bool idle = false;
   bool ready = false;
};

// How far the start of a machine has come.
struct Phase {
   enum class Kind : uint8_t {
      stopped,     // there is no machine
      scanning,    // the inputs are scanned for the first time
      reconciling, // what stood in the outputs is made right
      ready,
   };

   static constexpr size_t kScans = 5;
   static constexpr size_t kOutputs = 4;

   Kind kind = Kind::stopped;
   size_t scans = 0; // that are over
   // In the order of kOutputNames.
   std::array<bool, kOutputs> isReconciled{};

   static constexpr Phase stopped() noexcept { return {}; }
   static constexpr Phase ready() noexcept {
      return {Kind::ready, kScans, {true, true, true, true}};
   }
   // How many are reconciled.
   size_t outputs() const noexcept;

   bool operator==(Phase const&) const noexcept = default;

   // "scanning", as programs know it.
   std::string_view name() const noexcept;
   // "scanning: 2 of 5 inputs", "reconciling: 3 of 4 outputs", "ready", "stopped".
   std::string text() const;
   // {"phase":"scanning","scans":2,"outputs":0}
   nlohmann::ordered_json toJson() const;
};

Phase phaseOf(Irb::Multicast::Evpn::TransitIntfSm const& machine);

} // namespace Agent
