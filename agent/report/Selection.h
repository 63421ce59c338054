#pragma once

#include "agent/InputFile.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <set>

namespace Agent {

// The most that a page shows, so that a browser can.
inline constexpr size_t kMostStepsShown = 2000;
inline constexpr size_t kMostVlansShown = 64;

// What of a recording a page shows: its last steps, and the VLANs that most happened
// to.
struct Selection {
   size_t steps = 0;     // of the recording
   size_t firstStep = 0; // that is shown
   size_t vlans = 0;     // that have a VRF or an output at one time or another
   std::set<uint16_t> shown;

   size_t stepsShown() const noexcept { return steps - firstStep; }
};

// Looks through the recording, without playing it. state: the one that it starts from,
// in its canonical form.
Selection selectionOf(FileText const& recording, nlohmann::json const& state);

} // namespace Agent
