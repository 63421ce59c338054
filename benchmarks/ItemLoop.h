#pragma once

#include <benchmark/benchmark.h>

namespace Bench {

inline constexpr int kItems = 1000;

// kItems calls of the body an iteration, each with the number of its item, so that
// bodies of less than a nanosecond can be told apart. Every benchmark of a comparison
// uses it, the empty one too: the loop's own cost is in all of them.
template <typename Body>
void loop(benchmark::State& state, Body const& body) {
   for (auto _ : state) {
      for (int item = 0; item < kItems; ++item) {
         benchmark::DoNotOptimize(item);
         body(item);
         benchmark::ClobberMemory();
      }
   }
   state.SetItemsProcessed(state.iterations() * kItems);
}

} // namespace Bench
