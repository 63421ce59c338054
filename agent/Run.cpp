#include "agent/Run.h"

#include "agent/Host.h"
#include "agent/OutputTable.h"
#include "agent/Terminal.h"

#include <cstdio>

namespace Agent {

namespace {

void print(std::string const& text) {
   std::fwrite(text.data(), 1, text.size(), stdout);
}

} // namespace

int run(Options const& options) {
   Host host(options);
   host.loadState();
   host.start();
   host.drain();
   print(options.json ? host.state().outputsToJson().dump(2) + '\n'
                      : outputTable(host.state(), options, mayDecorate(stdout)));
   return 0;
}

} // namespace Agent
