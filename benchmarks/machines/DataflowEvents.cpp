#include "EventBench.h"
#include "Machine.h"

namespace Bench::Machines {

void registerDataflowEvents(Comparisons& comparisons) {
   auto const events = [&]<typename... Event>() {
      (registerBeside<Rule::dataflow, Event, DataflowMachine>(comparisons, "dataflow"),
       ...);
   };
   events.operator()<Move, Transit, Peg, Flip, Address>();
}

} // namespace Bench::Machines
