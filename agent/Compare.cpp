#include "agent/Compare.h"

#include "agent/BadInput.h"
#include "agent/ComparisonText.h"
#include "agent/ExitStatus.h"
#include "agent/Host.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"
#include "agent/TwoMachines.h"

#include <cstdio>
#include <string>

namespace Agent {

namespace {

int comparison(Options const& options, Rows rows) {
   auto const each = optionsOfEach(options);
   Host reactor(each[0]);
   Host dataflow(each[1]);
   loadState({&reactor, &dataflow}, options);
   TwoMachines machines(reactor, dataflow, options);
   for (auto* const host : {&reactor, &dataflow}) {
      host->start();
      host->drain();
      host->verify(location(options.state, 0));
   }
   machines.compare(location(options.state, 0));
   ComparisonText const comparison(reactor.state(), dataflow.state(), machines,
                                   options);
   auto const text = options.json ? comparison.json(rows)
                                  : comparison.table(rows, mayDecorate(stdout));
   print(text);
   size_t const errors = reactor.verified() + dataflow.verified();
   return errors == 0 ? machines.status() : kDisagrees;
}

} // namespace

int compare(Options const& options) {
   return comparison(options, Rows::differing);
}

int runBoth(Options const& options) {
   return comparison(options, Rows::all);
}

} // namespace Agent
