#include "agent/Progress.h"
#include "agent/Table.h"
#include "soak/Soak.h"
#include "zin/Hash.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <string>

// soak: plays random events in one process for a time or up to a number, and looks for
// what grows, gets lost, takes longer than it may or ends wrong.
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostProblems = 10;

struct Limits {
   double seconds = 0;
   uint64_t events = 0;
   uint32_t hashSeed = 1;
};

double since(Clock::time_point begin) {
   return std::chrono::duration<double>(Clock::now() - begin).count();
}

// For as long as the time and the number of events both want.
double play(Soak::Soak& soak, Limits const& limits) {
   auto const begin = Clock::now();
   constexpr size_t kSteps = 1000;
   Agent::Progress progress("soaking", kSteps);
   auto const share = [&] {
      double const ofEvents = static_cast<double>(soak.figures().events) /
                              static_cast<double>(limits.events);
      double const ofTime = limits.seconds > 0 ? since(begin) / limits.seconds : 1;
      return std::min({ofEvents, ofTime, 1.0});
   };
   size_t done = 0;
   while (share() < 1 && soak.problems().size() < kMostProblems) {
      soak.round();
      auto const now = static_cast<size_t>(static_cast<double>(kSteps) * share());
      progress.step(now - done);
      done = now;
   }
   return since(begin);
}

void print(Soak::Soak const& soak, double seconds) {
   auto const& figures = soak.figures();
   auto const& slices = figures.slices;
   fmt::print(
      "{} events in {:.1f} s, {} of them from inside a notification, {} starts, "
      "{} writes by others, {} comparisons with the plain rule\n",
      figures.events, seconds, figures.inside, figures.starts, figures.foreignWrites,
      figures.comparisons);
   if (slices.slices != 0) {
      fmt::print("{} slices of {} items, {} at most, with {} tasks pending at most\n",
                 slices.slices, slices.items, slices.mostItems, slices.mostPending);
      fmt::print("slices with a time share:");
      for (size_t i = 0; i < Soak::Lateness::kLimits.size(); ++i) {
         fmt::print("{} {} {}", i == 0 ? "" : ",", slices.lateness.slices[i],
                    Soak::Lateness::kLimits[i].name);
      }
      fmt::print("\nring: {} records, {} read, {} overwritten before\n",
                 soak.ring().written(), figures.recordsRead,
                 soak.ring().written() - figures.recordsRead);
   }
   using Align = Agent::Table::Align;
   Agent::Table table({{"most at the end of a round"},
                       {"while it settled", Align::right},
                       {"after that", Align::right},
                       {"at the end", Align::right}});
   for (auto const& name : soak.gauges().names()) {
      auto const& gauge = soak.gauges()[name];
      table.row(Agent::Table::Style::plain,
                {name, std::to_string(gauge.settling), std::to_string(gauge.most),
                 std::to_string(gauge.last)});
   }
   fmt::print("{}", table.text(false));
   for (auto const& problem : soak.problems()) {
      fmt::print("{}\n", problem);
   }
}

} // namespace

int main(int argc, char** argv) {
   Limits limits;
   Soak::Options options;
   std::map<std::string, Soak::Machines> const machines{
      {"reactor", Soak::Machines::reactor},
      {"dataflow", Soak::Machines::dataflow},
      {"both", Soak::Machines::both}};
   CLI::App app("plays random events in one process, and looks for what grows");
   app.add_option("--seconds", limits.seconds, "how long to play, at least");
   app.add_option("--events", limits.events,
                  "how many events to play, at least; twice those of --settling if not "
                  "given");
   app.add_option("--settling", options.settling,
                  "after how many events nothing may grow");
   app.add_option("--seed", options.seed, "of the events");
   app.add_option("--hash-seed", limits.hashSeed, "of the process");
   app.add_option("--sm", options.machines, "which machines")
      ->transform(CLI::CheckedTransformer(machines));
   CLI11_PARSE(app, argc, argv);
   if (limits.events == 0) {
      limits.events = 2 * options.settling;
   }
   Zin::HashHelper::hashSeed32Is(limits.hashSeed);

   Soak::Soak soak(options);
   double const took = play(soak, limits);
   print(soak, took);
   if (!soak.isCompared()) {
      fmt::print("too few events: no size was compared with what it had settled to\n");
      return 1;
   }
   return soak.problems().empty() ? 0 : 1;
}
