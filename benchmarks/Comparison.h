#pragma once

#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

// Comparisons between benchmarks of one run. Absolute times differ from machine to
// machine and from hour to hour; what two benchmarks of the same run cost beside each
// other is what a target can be set on.
namespace Bench {

struct Comparison {
   enum class Kind {
      ratio,      // first / second
      difference, // first - second, in nanoseconds
      speedup,    // second / first
   };

   std::string what;
   std::string first; // names of benchmarks
   std::string second;
   Kind kind = Kind::ratio;
   double target = 0; // at most this; a speedup: at least
};

// Prints as usual, and remembers the median of each benchmark's time per item.
class MedianReporter : public benchmark::ConsoleReporter {
 public:
   using benchmark::ConsoleReporter::ConsoleReporter;

   void ReportRuns(std::vector<Run> const& runs) override {
      for (auto const& run : runs) {
         if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
            medians_[run.run_name.function_name] = nanosecondsPerItem(run);
         }
      }
      benchmark::ConsoleReporter::ReportRuns(runs);
   }

   double median(std::string const& name) const {
      auto const at = medians_.find(name);
      return at != medians_.end() ? at->second : 0;
   }

 private:
   // A benchmark that does many items an iteration says so in its items per second.
   static double nanosecondsPerItem(Run const& run) {
      auto const items = run.counters.find("items_per_second");
      return items != run.counters.end()
                ? 1e9 / items->second.value
                : run.GetAdjustedCPUTime() *
                     (1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit));
   }

   std::map<std::string, double> medians_;
};

// Runs every benchmark at least nine times, in mixed order, and prints the
// comparisons of the medians. Returns the process's exit status: 0 even if a target
// was missed, which is a finding and no failure.
inline int compare(int argc, char** argv, std::vector<Comparison> const& comparisons) {
   std::vector<char*> args(argv, argv + argc);
   std::string defaults[] = {
      "--benchmark_repetitions=9", "--benchmark_enable_random_interleaving=true",
      "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.05"};
   for (auto& argument : defaults) { // before the caller's own, which win
      args.insert(args.begin() + 1, argument.data());
   }
   int count = static_cast<int>(args.size());
   benchmark::Initialize(&count, args.data());
   if (benchmark::ReportUnrecognizedArguments(count, args.data())) {
      return 1;
   }
   MedianReporter reporter;
   benchmark::RunSpecifiedBenchmarks(&reporter);
   std::printf("\n%-58s %9s %9s\n", "comparison of medians", "measured", "target");
   for (auto const& comparison : comparisons) {
      double const first = reporter.median(comparison.first);
      double const second = reporter.median(comparison.second);
      if (first == 0 || second == 0) {
         continue; // filtered out of this run
      }
      using enum Comparison::Kind;
      double const measured = comparison.kind == ratio     ? first / second
                              : comparison.kind == speedup ? second / first
                                                           : first - second;
      char const* const unit = comparison.kind == difference ? "ns" : "x";
      bool const isReached = comparison.kind == speedup ? measured >= comparison.target
                                                        : measured <= comparison.target;
      std::printf("%-58s %6.2f %-2s %s %-4g %-2s %s\n", comparison.what.c_str(),
                  measured, unit,
                  comparison.kind == speedup ? ">=" : "<=", comparison.target, unit,
                  isReached ? "reached" : "MISSED");
   }
   return 0;
}

} // namespace Bench
