#pragma once

#include "support/Random.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace Explore {

// What happens to a dataflow machine, from its start on: a state document that it
// starts over, and the lines of an event file that is played by hand (--manual), so
// that slices run where a line says so and end where it says so.
struct Schedule {
   nlohmann::json document;
   std::vector<nlohmann::json> lines;
   uint32_t hashSeed = 1;
   uint32_t sliceItems = 1; // in a slice that no line cut, the first of each scan too

   // As files for "mcastvpn-agent replay --manual".
   std::string documentText() const;
   // leftOut: the numbers, from 1, of lines that become comments.
   std::string linesText(std::set<size_t> const& leftOut = {}) const;
   // The command that plays the files.
   std::string command(std::string const& state, std::string const& events) const;
};

// Random inputs, random outputs that others left, and random lines: changes, foreign
// writes, slices of random length, restarts, and changes inside notifications.
Schedule randomSchedule(TestSupport::Random const& random, uint32_t hashSeed);
Schedule randomSchedule(uint32_t seed, uint32_t hashSeed);

// A schedule that still fails, from which no line and no member of the document can be
// left out. fails: whether a schedule does.
template <typename Fails>
Schedule shrunk(Schedule schedule, Fails fails);

} // namespace Explore

#include "explore/Shrinking.h"
