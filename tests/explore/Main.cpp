#include "explore/Exhaustive.h"
#include "explore/Player.h"
#include "zin/Hash.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <fstream>
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
   Figures ignored;
   return !Explore::Player(schedule, ignored).play().empty();
}

void write(std::string const& file, std::string const& text) {
   std::ofstream(file, std::ios::binary) << text;
}

void report(Schedule const& schedule, std::string const& name, Options const& options) {
   auto const smallest = Explore::shrunk(schedule, fails);
   Figures ignored;
   Explore::Player player(smallest, ignored);
   auto const problems = player.play();
   auto const state = fmt::format("{}/{}.json", options.out, name);
   auto const events = fmt::format("{}/{}.jsonl", options.out, name);
   write(state, smallest.documentText());
   write(events, smallest.linesText(player.leftOut()));
   fmt::print("{}: {}\n  {}\n", name,
              problems.empty() ? "fails, but not when it is played again"
                               : problems.front(),
              smallest.command(state, events));
}

void printFigures(char const* what, Figures const& figures, size_t failures,
                  double seconds) {
   fmt::print("{}: {} schedules, {} lines, {} slices, {} states; {} comparisons with "
              "the plain rule, {} starts with every member counted; {} failures; "
              "{:.1f} s\n",
              what, figures.schedules, figures.lines, figures.slices,
              figures.states.size(), figures.comparisons, figures.scans, failures,
              seconds);
}

using Clock = std::chrono::steady_clock;

double since(Clock::time_point begin) {
   return std::chrono::duration<double>(Clock::now() - begin).count();
}

size_t exploreAtRandom(Options const& options) {
   auto const begin = Clock::now();
   Figures figures;
   size_t failures = 0;
   for (uint32_t seed = options.seed;
        since(begin) < options.seconds && failures < options.mostFailures; ++seed) {
      auto const schedule = Explore::randomSchedule(seed, options.hashSeed);
      if (!Explore::Player(schedule, figures).play().empty()) {
         ++failures;
         report(schedule, fmt::format("explore-{}", seed), options);
      }
   }
   printFigures("at random", figures, failures, since(begin));
   return failures;
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
      failures += exploreExhaustively();
   }
   return failures == 0 ? 0 : 1;
}
