#include "agent/BadInput.h"
#include "agent/Compare.h"
#include "agent/ExitStatus.h"
#include "agent/Explain.h"
#include "agent/Graph.h"
#include "agent/Options.h"
#include "agent/Plan.h"
#include "agent/Replay.h"
#include "agent/Run.h"
#include "agent/Terminal.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

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
         return Agent::run(options);
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
      case Agent::Options::Command::none:
         break;
   }
   return Agent::kFine;
}

void complain(char const* message) {
   std::fflush(stdout);
   std::fprintf(stderr, "mcastvpn-agent: %s\n", message);
}

// The status, unless what was printed cannot be written.
int finished(int status) {
   std::cout.flush();
   if (Agent::flushed(stdout) && std::cout.good()) {
      return status;
   }
   complain("standard output: the results cannot be written");
   return Agent::kBadInput;
}

} // namespace

int main(int argc, char** argv) {
   previousHandler = std::set_terminate(flushAndTerminate);
   auto const parsed = Agent::parseOptions(argc, argv);
   if (parsed.status) {
      return finished(*parsed.status);
   }
   try {
      return finished(command(parsed.options));
   } catch (std::exception const& error) {
      complain(error.what());
      return Agent::kBadInput;
   }
}
