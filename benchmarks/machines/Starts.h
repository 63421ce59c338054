#pragma once

#include "ContractFloor.h"
#include "Recomputation.h"

#include <type_traits>

namespace Bench::Machines {

// What the outputs hold when a program starts.
enum class Before { nothing, right, foreign };

// What they are to hold afterwards.
template <Rule rule>
Outputs expected(Case const& inputs, Before before) {
   if (before == Before::foreign) {
      ContractFloor<rule> program(inputs);
      program.foreignOutputs(inputs);
      program.start();
      return program.outputs();
   }
   Recomputation<rule> rightly(inputs);
   rightly.start();
   return rightly.outputs();
}

// Makes a program ready to be started, which was started before if the outputs are to
// be right.
template <typename Program>
void prepare(Program& program, Case const& inputs, Before before) {
   program.stop();
   if constexpr (std::is_base_of_v<Entities, Program>) {
      if (before != Before::right) {
         program.outputsDel();
      }
      if (before == Before::foreign) {
         program.foreignOutputs(inputs);
      }
   }
}

} // namespace Bench::Machines
