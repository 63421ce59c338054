#pragma once

#include "../Comparison.h"

#include <vector>

// The parts of machines_bench, one a translation unit.
namespace Bench::Machines {

using Comparisons = std::vector<Comparison>;

// Each registers its benchmarks, and adds the comparisons that have a target.
void registerReactorEvents(Comparisons& comparisons);
void registerDataflowEvents(Comparisons& comparisons);
void registerStarts(Comparisons& comparisons);

// Each prints a table of its own; no benchmarks.
void reportMemory();
void reportSlices();

} // namespace Bench::Machines
