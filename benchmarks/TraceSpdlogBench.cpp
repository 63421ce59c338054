// The same line through spdlog. In a source of its own: spdlog is built with the
// system's fmt, which need not be the one that this project uses.

#include "ItemLoop.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>
#include <string_view>

namespace {

constexpr std::string_view kVrf = "tenant-blue-17";

void run(benchmark::State& state, spdlog::logger& logger) {
   Bench::loop(state, [&](int item) {
      logger.debug("transit vlan: {} for VRF: {} enabled: {}", item, kVrf, true);
   });
}

// The level is tested first, as a careful program would with spdlog.
void disabledSpdlog(benchmark::State& state) {
   spdlog::logger logger("off", std::make_shared<spdlog::sinks::null_sink_st>());
   logger.set_level(spdlog::level::info);
   benchmark::DoNotOptimize(&logger);
   Bench::loop(state, [&](int item) {
      if (logger.should_log(spdlog::level::debug)) {
         logger.debug("transit vlan: {} for VRF: {} enabled: {}", item, kVrf, true);
      }
   });
}
BENCHMARK(disabledSpdlog);

// Keeps the last messages, each with its text formatted, and the time unformatted.
void spdlogRing(benchmark::State& state) {
   spdlog::logger logger("ring",
                         std::make_shared<spdlog::sinks::ringbuffer_sink_st>(20000));
   logger.set_level(spdlog::level::debug);
   run(state, logger);
}
BENCHMARK(spdlogRing);

// Formats the text and drops it.
void spdlogNull(benchmark::State& state) {
   spdlog::logger logger("null", std::make_shared<spdlog::sinks::null_sink_st>());
   logger.set_level(spdlog::level::debug);
   run(state, logger);
}
BENCHMARK(spdlogNull);

} // namespace
