#include "ContractFloor.h"
#include "Floor.h"
#include "Machine.h"
#include "Registration.h"
#include "Sqlite.h"
#include "Starts.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <set>
#include <string>

namespace Bench::Machines {

namespace {

// Times start(program); the time of the clean-up before is not in it.
template <Rule rule, typename Program, typename Start>
void runStarts(benchmark::State& state, std::string const& name, Case const& inputs,
               Before before, Start start) {
   Program program(inputs);
   if (before == Before::right) {
      program.start();
   }
   for (auto _ : state) {
      prepare(program, inputs, before);
      auto const begin = seconds();
      start(program);
      state.SetIterationTime(seconds() - begin);
   }
   static std::set<std::string> checked;
   if (checked.insert(name).second) {
      requireEqual(program.outputs(), expected<rule>(inputs, before), name);
   }
   program.stop();
   state.SetItemsProcessed(state.iterations() * inputs.vrfs);
}

template <Rule rule, typename Program, typename Start>
void registerStart(std::string const& name, Case const& inputs, Before before,
                   Start start) {
   auto* const registered =
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
         runStarts<rule, Program>(state, name, inputs, before, start);
      });
   registered->UseManualTime()->Unit(benchmark::kMicrosecond);
   if (inputs.vrfs > 10000) {
      registered->Iterations(1);
   }
}

void plainly(auto& program) {
   program.start();
}

void inTasks(DataflowMachine& machine) {
   auto const scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   scheduler->shareIs(std::make_unique<Kolm::UnlimitedShare>());
   machine.startIn(scheduler);
   scheduler->runUntilIdle();
}

// The machine and the contract floor over outputs of each kind, and the other peers
// over empty ones.
template <Rule rule, typename Machine>
void registerCase(Comparisons& comparisons, std::string const& machine,
                  std::string const& size, Case const& inputs) {
   auto const with = [&](std::string const& kind, Before before) {
      auto const name = [&](std::string const& program) {
         return program + "/" + kind + "/" + size;
      };
      auto const floor = name(machine + ".contract");
      registerStart<rule, ContractFloor<rule>>(floor, inputs, before,
                                               plainly<ContractFloor<rule>>);
      registerStart<rule, Machine>(name(machine), inputs, before, plainly<Machine>);
      auto const compared = [&](std::string const& program) {
         comparisons.push_back({program + ", beside contract", program, floor,
                                Comparison::Kind::ratio, 1.5});
      };
      compared(name(machine));
      if constexpr (rule == Rule::dataflow) {
         auto const tasks = name(machine + "Tasks");
         registerStart<rule, Machine>(tasks, inputs, before, inTasks);
         compared(tasks);
      }
      if (before == Before::nothing) {
         registerStart<rule, Floor<rule>>(name(machine + ".floor"), inputs, before,
                                          plainly<Floor<rule>>);
      }
      if (before == Before::nothing && inputs.vrfs < 10000) {
         registerStart<rule, Sqlite<rule>>(name(machine + ".sqlite"), inputs, before,
                                           plainly<Sqlite<rule>>);
      }
   };
   with("start", Before::nothing);
   if (inputs.vrfs < 10000) {
      with("restartRight", Before::right);
      with("restartForeign", Before::foreign);
   }
}

} // namespace

void registerStarts(Comparisons& comparisons) {
   for (int const vlans : {16, 256, 4094}) {
      auto const size = std::to_string(vlans);
      auto const inputs = Case::onePerVlan(vlans);
      registerCase<Rule::reactor, ReactorMachine>(comparisons, "reactor", size, inputs);
      registerCase<Rule::dataflow, DataflowMachine>(comparisons, "dataflow", size,
                                                    inputs);
   }
   registerCase<Rule::reactor, ReactorMachine>(comparisons, "reactor", "100000",
                                               Case::shared(100000, 1000));
   // The larger of two numbers must not multiply the other.
   for (int const vrfs : {25000, 100000}) {
      for (int const pegVlans : {1000, 4094}) {
         registerCase<Rule::dataflow, DataflowMachine>(comparisons, "dataflow",
                                                       std::to_string(vrfs) + "x" +
                                                          std::to_string(pegVlans),
                                                       Case::shared(vrfs, pegVlans));
      }
   }
   comparisons.push_back({"dataflow/start/100000, 4,094 PEG VLANs beside 1,000",
                          "dataflow/start/100000x4094", "dataflow/start/100000x1000",
                          Comparison::Kind::ratio, 1.2});
   // Times are per VRF.
   comparisons.push_back({"dataflow/start, per VRF: 100,000 VRFs beside 25,000",
                          "dataflow/start/100000x4094", "dataflow/start/25000x4094",
                          Comparison::Kind::ratio, 1.5});
}

} // namespace Bench::Machines
