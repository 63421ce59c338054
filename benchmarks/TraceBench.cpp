// What a trace site costs: while it is off, into the ring, and as formatted text.
// benchmarks/Trace.md tells the method and the findings.

#include "Comparison.h"
#include "ItemLoop.h"
#include "dualo/FmtDualo.h"
#include "fennlog/TraceHandle.h"
#include "kolm/Task.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Fmtrace.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <ctime>
#include <fmt/format.h>
#include <string_view>

namespace {

using Bench::loop;

constexpr auto* kFile = "McastVpnLib/McastVpnTransitSm";

// The line of the comparison: a number, a name and a flag.
#define LINE_FMT "transit vlan: {} for VRF: {} enabled: {}"
#define LINE_PERCENT "transit vlan: %s for VRF: %s enabled: %s"
constexpr std::string_view kVrf = "tenant-blue-17";

// One machine's trace, in memory that the compiler cannot see through.
struct Fixture {
   Pelk::TraceHandler handler{"McastVpn::Transit"};
   Pelk::Ptr<Fennlog::TraceHandle> ring = Pelk::makePtr<Fennlog::TraceHandle>();

   explicit Fixture(bool ringOn) {
      if (!ringOn) {
         ring->levelsIs(Pelk::TraceLevels());
      }
      benchmark::DoNotOptimize(this);
   }
};

void emptyLoop(benchmark::State& state) {
   loop(state, [](int) {});
}
BENCHMARK(emptyLoop);

void disabledFmtrace(benchmark::State& state) {
   Fixture const fixture(false);
   loop(state, [&](int item) {
      PELK_FMTRACE(fixture.handler, 8, kFile, LINE_FMT, item, kVrf, true);
   });
}
BENCHMARK(disabledFmtrace);

void disabledRing(benchmark::State& state) {
   Fixture const fixture(false);
   loop(state,
        [&](int item) { FENNLOG(fixture.ring, 8, LINE_PERCENT, item, kVrf, true); });
}
BENCHMARK(disabledRing);

void disabledBoth(benchmark::State& state) {
   Fixture const fixture(false);
   loop(state, [&](int item) {
      DUALO(fixture.ring, fixture.handler, 8, kFile, LINE_PERCENT, item, kVrf, true);
   });
}
BENCHMARK(disabledBoth);

void ringRecord(benchmark::State& state) {
   Fixture const fixture(true);
   loop(state,
        [&](int item) { FENNLOG(fixture.ring, 8, LINE_PERCENT, item, kVrf, true); });
}
BENCHMARK(ringRecord);

// As a machine writes it: ring on, text off.
void ringRecordOfBoth(benchmark::State& state) {
   Fixture const fixture(true);
   loop(state, [&](int item) {
      DUALO(fixture.ring, fixture.handler, 8, kFile, LINE_PERCENT, item, kVrf, true);
   });
}
BENCHMARK(ringRecordOfBoth);

// fmt at its best: into a buffer that is there already, from a format that was checked
// when it was compiled.
void fmtToBuffer(benchmark::State& state) {
   fmt::memory_buffer buffer;
   loop(state, [&](int item) {
      buffer.clear();
      fmt::format_to(std::back_inserter(buffer), LINE_FMT, item, kVrf, true);
      benchmark::DoNotOptimize(buffer.data());
   });
}
BENCHMARK(fmtToBuffer);

void fmtToString(benchmark::State& state) {
   loop(state, [&](int item) {
      benchmark::DoNotOptimize(fmt::format(LINE_FMT, item, kVrf, true));
   });
}
BENCHMARK(fmtToString);

void clockOfRing(benchmark::State& state) {
   loop(state, [](int) { benchmark::DoNotOptimize(Fennlog::ticks()); });
}
BENCHMARK(clockOfRing);

void clockCoarse(benchmark::State& state) {
   loop(state, [](int) {
      timespec now{};
      clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
      benchmark::DoNotOptimize(now);
   });
}
BENCHMARK(clockCoarse);

void clockSteady(benchmark::State& state) {
   loop(state, [](int) { benchmark::DoNotOptimize(std::chrono::steady_clock::now()); });
}
BENCHMARK(clockSteady);

// A poll of taskShouldYield() under a time share that does not end.
void pollOfTimeShare(benchmark::State& state) {
   auto const scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   scheduler->shareIs(std::make_unique<Kolm::TimeShare>(std::chrono::hours(1)));
   auto const task = Pelk::makePtr<Kolm::Task>(scheduler, Kolm::TaskPriority(), "t");
   loop(state, [&](int) { benchmark::DoNotOptimize(task->taskShouldYield()); });
}
BENCHMARK(pollOfTimeShare);

} // namespace

int main(int argc, char** argv) {
   using enum Bench::Comparison::Kind;
   return Bench::compare(argc, argv,
                         {{"site off, fmtrace, against an empty iteration",
                           "disabledFmtrace", "emptyLoop", difference, 0.5},
                          {"site off, ring, against an empty iteration", "disabledRing",
                           "emptyLoop", difference, 0.5},
                          {"site off, both traces, against an empty iteration",
                           "disabledBoth", "emptyLoop", difference, 0.5},
                          {"site off, spdlog, against an empty iteration",
                           "disabledSpdlog", "emptyLoop", difference, 0.5},
                          {"ring record against fmt into a buffer", "ringRecord",
                           "fmtToBuffer", ratio, 0.2},
                          {"ring record against fmt into a string", "ringRecord",
                           "fmtToString", ratio, 0.2},
                          {"ring record of both traces against fmt into a buffer",
                           "ringRecordOfBoth", "fmtToBuffer", ratio, 0.2},
                          {"ring record against spdlog's ring of messages",
                           "ringRecord", "spdlogRing", ratio, 0.2},
                          {"ring record against spdlog's null sink", "ringRecord",
                           "spdlogNull", ratio, 0.2},
                          {"ring's clock against the coarse clock", "clockOfRing",
                           "clockCoarse", ratio, 2},
                          {"poll of a time share against reading the clock",
                           "pollOfTimeShare", "clockSteady", ratio, 0.5}});
}
