#include "agent/Run.h"

#include "agent/BadInput.h"
#include "agent/Compare.h"
#include "agent/ExitStatus.h"
#include "agent/Host.h"
#include "agent/OutputTable.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"

#include <cstdio>

namespace Agent {

int run(Options const& options) {
   if (options.both) {
      return runBoth(options);
   }
   Host host(options);
   loadState({&host}, options);
   host.start();
   host.drain();
   host.verify(location(options.state, 0));
   print(options.json ? host.state().outputsToJson().dump(2) + '\n'
                      : outputTable(host.state(), options, mayDecorate(stdout)));
   return host.verified() == 0 ? kFine : kDisagrees;
}

} // namespace Agent
