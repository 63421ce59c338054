#pragma once

#include "ContractFloor.h"
#include "Events.h"
#include "Floor.h"
#include "Registration.h"
#include "Sqlite.h"

#include <benchmark/benchmark.h>
#include <set>
#include <string>

namespace Bench::Machines {

// "contract/move/256".
inline std::string eventName(std::string const& program, std::string const& event,
                             int vlans) {
   return program + "/" + event + "/" + std::to_string(vlans);
}

// Each iteration is two events: there and back.
template <Rule rule, typename Event, typename Program>
void runEvents(benchmark::State& state, std::string const& name, int vlans) {
   auto const inputs = Case::onePerVlan(vlans);
   Program program(inputs);
   program.start();
   static std::set<std::string> checked;
   if (checked.insert(name).second) {
      requireRight<rule, Event>(program, inputs, name);
   }
   typename Event::template On<Program> const event(inputs);
   for (auto _ : state) {
      event.there(program);
      event.back(program);
   }
   state.SetItemsProcessed(state.iterations() * 2 *
                           (isForAll<Event>() ? inputs.alone : 1));
   program.stop();
}

template <Rule rule, typename Event, typename Program>
void registerEvents(std::string const& program, int vlans) {
   auto const name = eventName(program, Event::name, vlans);
   benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      runEvents<rule, Event, Program>(state, name, vlans);
   });
}

// The machine beside all its peers, whose names begin with its own, and what it should
// reach beside them.
template <Rule rule, typename Event, typename Machine>
void registerBeside(Comparisons& comparisons, std::string const& machine) {
   auto const peer = [&](char const* name) { return machine + "." + name; };
   for (int const vlans : {16, 256, 4094}) {
      registerEvents<rule, Event, Machine>(machine, vlans);
      registerEvents<rule, Event, ContractFloor<rule>>(peer("contract"), vlans);
      registerEvents<rule, Event, Floor<rule>>(peer("floor"), vlans);
      registerEvents<rule, Event, Sqlite<rule>>(peer("sqlite"), vlans);
      if (vlans == 256) {
         registerEvents<rule, Event, Recomputation<rule>>(peer("recompute"), vlans);
      }
      auto const beside = [&](char const* other, Comparison::Kind kind, double target) {
         auto const name = eventName(machine, Event::name, vlans);
         comparisons.push_back({name + ", beside " + other, name,
                                eventName(peer(other), Event::name, vlans), kind,
                                target});
      };
      using enum Comparison::Kind;
      if constexpr (isForAll<Event>()) {
         beside("contract", ratio, 1.3);
         if (vlans == 4094) {
            beside("sqlite", speedup, 1);
         }
      } else {
         beside("contract", ratio, vlans == 4094 ? 1.75 : 1.5);
         beside("sqlite", speedup, 10);
         if (vlans == 256) {
            beside("recompute", speedup, 150);
         }
      }
   }
   if constexpr (!isForAll<Event>()) {
      comparisons.push_back(
         {machine + "/" + Event::name + ", 4,094 VLANs beside 16",
          eventName(machine, Event::name, 4094), eventName(machine, Event::name, 16),
          Comparison::Kind::ratio, Event::name == Peg::name ? 2.5 : 3});
   }
}

} // namespace Bench::Machines
