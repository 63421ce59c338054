#include "explore/Alone.h"
#include "explore/Exhaustive.h"
#include "explore/Player.h"
#include "zin/Hash.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <new>
#include <string>

// explore: plays random schedules for a time, or every schedule of some small systems.
// A failure is shrunk and written as files that the agent can play.
namespace {

using Explore::Figures;
using Explore::Schedule;

struct Options {
   double seconds = 0;
   bool exhaustively = false;
   uint32_t seed = 1;
   uint32_t hashSeed = 1;
   uint32_t mostFailures = 5;
   std::string out = ".";
};

bool fails(Schedule const& schedule) {
   return !Explore::playedAlone(schedule).empty();
}

void write(std::string const& file, std::string const& text) {
   std::ofstream(file, std::ios::binary) << text;
}

void report(Schedule const& schedule, std::string const& name, Options const& options) {
   auto const smallest = Explore::shrunk(schedule, fails);
   auto const problem = Explore::playedAlone(smallest);
   auto const state = fmt::format("{}/{}.json", options.out, name);
   auto const events = fmt::format("{}/{}.jsonl", options.out, name);
   write(state, smallest.documentText());
   write(events, smallest.linesText());
   fmt::print("{}: {}\n  {}\n", name,
              problem.empty() ? "fails, but not when it is played again" : problem,
              smallest.command(state, events));
}

void printFigures(char const* what, Figures const& figures, size_t failures,
                  double seconds) {
   fmt::print(
      "{}: {} schedules, {} lines, {} slices, {} states; {} comparisons with "
      "the plain rule, {} starts with every member counted, {} with those that nobody "
      "touched; {} failures; "
      "{:.1f} s\n",
      what, figures.schedules, figures.lines, figures.slices, figures.states.size(),
      figures.comparisons, figures.scans, figures.disturbedScans, failures, seconds);
}

using Clock = std::chrono::steady_clock;

double since(Clock::time_point begin) {
   return std::chrono::duration<double>(Clock::now() - begin).count();
}

// What the process that explores has come to, as the one sees that waits for it.
struct Reached {
   std::atomic<uint32_t> seed; // of the schedule that is played
   std::atomic<uint32_t> failures;
};

void reportSeed(uint32_t seed, Options const& options) {
   report(Explore::randomSchedule(seed, options.hashSeed),
          fmt::format("explore-{}", seed), options);
}

void exploreFrom(uint32_t seed, Reached& reached, Options const& options,
                 Clock::time_point begin) {
   Figures figures;
   for (; since(begin) < options.seconds && reached.failures < options.mostFailures;
        ++seed) {
      reached.seed = seed;
      auto const schedule = Explore::randomSchedule(seed, options.hashSeed);
      if (!Explore::Player(schedule, figures).play().empty()) {
         ++reached.failures;
         reportSeed(seed, options);
      }
   }
   printFigures("at random", figures, reached.failures, since(begin));
}

// A schedule that ends its process is a failure as others are.
size_t exploreAtRandom(Options const& options) {
   auto const begin = Clock::now();
   auto& reached = *new (mmap(nullptr, sizeof(Reached), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Reached{};
   for (uint32_t seed = options.seed;; seed = reached.seed + 1) {
      auto const status = Explore::aloneStatus([&] {
         exploreFrom(seed, reached, options, begin);
         return 0;
      });
      if (status == 0) {
         return reached.failures;
      }
      ++reached.failures;
      reportSeed(reached.seed, options);
   }
}

size_t exploreExhaustively() {
   auto const begin = Clock::now();
   Figures figures;
   size_t failures = 0;
   for (auto const& system : Explore::smallSystems()) {
      auto const result = Explore::exploreAll(system, figures);
      failures += result.problems.size();
      fmt::print("  {}: {} schedules, {} choices at most{}\n", system.name,
                 result.schedules, result.mostChoices,
                 result.problems.empty() ? "" : "; " + result.problems.front());
   }
   printFigures("exhaustively", figures, failures, since(begin));
   return failures;
}

} // namespace

int main(int argc, char** argv) {
   Options options;
   CLI::App app(
      "plays schedules of the dataflow machine, and looks for one that fails");
   app.add_option("--seconds", options.seconds, "how long to play random schedules");
   app.add_flag("--exhaustively", options.exhaustively,
                "play every schedule of the small systems");
   app.add_option("--seed", options.seed, "of the first random schedule");
   app.add_option("--hash-seed", options.hashSeed, "of the process");
   app.add_option("--out", options.out, "the folder for what fails");
   CLI11_PARSE(app, argc, argv);
   std::setvbuf(stdout, nullptr, _IOLBF, 0); // so that a crash shows what came before
   Zin::HashHelper::hashSeed32Is(options.hashSeed);

   size_t failures = 0;
   if (options.seconds > 0) {
      failures += exploreAtRandom(options);
   }
   if (options.exhaustively) {
      auto const status = Explore::aloneStatus(
         [] { return static_cast<int>(std::min<size_t>(exploreExhaustively(), 100)); });
      if (status > 100) {
         fmt::print(
            "exhaustively: the system behind the last one here ended the process\n");
      }
      failures += static_cast<size_t>(status);
   }
   return failures == 0 ? 0 : 1;
}
