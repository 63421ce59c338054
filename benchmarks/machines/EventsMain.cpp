#include "ContractFloor.h"
#include "Events.h"
#include "Floor.h"
#include "Machine.h"
#include "Sqlite.h"
#include "Starts.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// Runs one event or start of one program a number of times, for
// machines_instructions.py, which counts what countedEvents() and countedStart()
// execute.

namespace Bench::Machines {

namespace {

int times = 100;

template <typename On, typename Program>
[[gnu::noinline]] void countedEvents(On const& event, Program& program) {
   for (int i = 0; i < times; ++i) {
      event.there(program);
      event.back(program);
   }
}

template <Rule rule, typename Event, typename Program>
void run(Case const& inputs) {
   Program program(inputs);
   program.start();
   requireRight<rule, Event>(program, inputs, Event::name);
   typename Event::template On<Program> const event(inputs);
   countedEvents(event, program);
   program.stop();
}

template <typename Program>
[[gnu::noinline]] void countedStart(Program& program) {
   program.start();
}

template <Rule rule, typename Program>
void runStart(Case const& inputs, Before before, std::string const& name) {
   Program program(inputs);
   program.start();
   for (int i = 0; i < times; ++i) {
      prepare(program, inputs, before);
      countedStart(program);
   }
   requireEqual(program.outputs(), expected<rule>(inputs, before), name);
   program.stop();
}

template <Rule rule, typename Program>
bool runNamed(std::string_view name, Case const& inputs) {
   if (name == "start") {
      return runStart<rule, Program>(inputs, Before::nothing, "start"), true;
   }
   if constexpr (std::is_base_of_v<Entities, Program>) {
      if (name == "restartRight") {
         return runStart<rule, Program>(inputs, Before::right, "restartRight"), true;
      }
      if (name == "restartForeign") {
         return runStart<rule, Program>(inputs, Before::foreign, "restartForeign"),
                true;
      }
   }
   auto const with = [&]<typename... Event>() {
      return ((name == Event::name && (run<rule, Event, Program>(inputs), true)) ||
              ...);
   };
   if constexpr (rule == Rule::dataflow) {
      return with.template operator()<Move, Transit, Peg, Flip, Address>();
   } else {
      return with.template operator()<Move, Transit, Flip, Address>();
   }
}

bool runProgram(std::string_view program, std::string_view event, Case const& inputs) {
   using enum Rule;
   return program == "reactor" ? runNamed<reactor, ReactorMachine>(event, inputs)
          : program == "reactor.contract"
             ? runNamed<reactor, ContractFloor<reactor>>(event, inputs)
          : program == "reactor.floor"
             ? runNamed<reactor, Floor<reactor>>(event, inputs)
          : program == "reactor.sqlite"
             ? runNamed<reactor, Sqlite<reactor>>(event, inputs)
          : program == "dataflow" ? runNamed<dataflow, DataflowMachine>(event, inputs)
          : program == "dataflow.contract"
             ? runNamed<dataflow, ContractFloor<dataflow>>(event, inputs)
          : program == "dataflow.floor"
             ? runNamed<dataflow, Floor<dataflow>>(event, inputs)
          : program == "dataflow.sqlite"
             ? runNamed<dataflow, Sqlite<dataflow>>(event, inputs)
             : false;
}

// "256", one VRF a VLAN, or "100000x1000", VRFs that share VLANs, and PEG VLANs.
Case caseOf(std::string const& size) {
   auto const at = size.find('x');
   return at == std::string::npos
             ? Case::onePerVlan(std::stoi(size))
             : Case::shared(std::stoi(size), std::stoi(size.substr(at + 1)));
}

} // namespace

} // namespace Bench::Machines

int main(int argc, char** argv) {
   using namespace Bench::Machines;
   if (argc != 5) {
      std::fputs("usage: machines_events PROGRAM EVENT SIZE TIMES\n", stderr);
      return 2;
   }
   times = std::atoi(argv[4]);
   if (!runProgram(argv[1], argv[2], caseOf(argv[3]))) {
      std::fputs("no such program or event\n", stderr);
      return 2;
   }
   return 0;
}
