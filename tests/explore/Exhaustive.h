#pragma once

#include "explore/Player.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Explore {

// A small system: what a machine starts over, and changes that come at some time, in
// this order.
struct System {
   std::string name;
   Schedule schedule;
   // How many choices may be other than to go on: all of them, or few enough to be
   // tried.
   uint32_t mostDepartures = std::numeric_limits<uint32_t>::max();
};

struct Result {
   uint64_t schedules = 0;
   size_t mostChoices = 0;
   std::vector<std::string> problems;
};

// Up to 3 VRFs, 2 VLANs, 2 interfaces and 2 changes.
std::vector<System> smallSystems();

// Plays the system once for each way to choose, at each poll of a task, whether it
// yields, and between slices, whether the next change comes.
Result exploreAll(System const& system, Figures& figures);

} // namespace Explore
