#include "agent/BadInput.h"
#include "agent/Compare.h"
#include "agent/ExitStatus.h"
#include "agent/Explain.h"
#include "agent/Graph.h"
#include "agent/Options.h"
#include "agent/OutOfMemory.h"
#include "agent/Plan.h"
#include "agent/Replay.h"
#include "agent/Run.h"
#include "agent/Streams.h"
#include "agent/ctl/Ctl.h"
#include "agent/record/Bundle.h"
#include "agent/record/Timeline.h"
#include "agent/report/Report.h"
#include "agent/serve/Watch.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

// What was printed until then stands before the message of an exception that escaped.
std::terminate_handler previousHandler = nullptr;

[[noreturn]] void flushAndTerminate() {
   std::fflush(stdout);
   previousHandler();
   std::abort();
}

int command(Agent::Options const& options) {
   switch (options.command) {
      case Agent::Options::Command::run:
         return options.watch ? Agent::watch(options) : Agent::run(options);
      case Agent::Options::Command::replay:
         return Agent::replay(options);
      case Agent::Options::Command::explain:
         return Agent::explain(options);
      case Agent::Options::Command::plan:
         return Agent::plan(options);
      case Agent::Options::Command::compare:
         return Agent::compare(options);
      case Agent::Options::Command::graph:
         return Agent::graph(options);
      case Agent::Options::Command::ctl:
         return Agent::ctl(options);
      case Agent::Options::Command::timeline:
         return Agent::timeline(options);
      case Agent::Options::Command::report:
         return Agent::report(options);
      case Agent::Options::Command::bundle:
         return Agent::bundle(options);
      case Agent::Options::Command::none:
         break;
   }
   return Agent::kFine;
}

void complain(char const* message) {
   Agent::flushResults();
   std::fprintf(stderr, "mcastvpn-agent: %s\n", message);
}

int finished(int status) {
   Agent::flushResults();
   Agent::requireResults();
   return status;
}

} // namespace

int main(int argc, char** argv) {
   previousHandler = std::set_terminate(flushAndTerminate);
   Agent::endWhenOutOfMemory();
   Agent::prepareStreams();
   try {
      auto const parsed = Agent::parseOptions(argc, argv);
      return finished(parsed.status ? *parsed.status : command(parsed.options));
   } catch (std::exception const& error) {
      complain(error.what());
      return Agent::kBadInput;
   }
}
