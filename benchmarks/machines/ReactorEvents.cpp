#include "EventBench.h"
#include "Machine.h"

namespace Bench::Machines {

void registerReactorEvents(Comparisons& comparisons) {
   auto const events = [&]<typename... Event>() {
      (registerBeside<Rule::reactor, Event, ReactorMachine>(comparisons, "reactor"),
       ...);
   };
   events.operator()<Move, Transit, Flip, Address>();
}

} // namespace Bench::Machines
