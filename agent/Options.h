#pragma once

#include "agent/Document.h"
#include "agent/verify/PathDependence.h"
#include "lidra/AddressFamily.h"
#include "pelk/TraceLevels.h"
#include "vorn/SmControl.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace Agent {

// What the command line says.
struct Options {
   enum class Command {
      none,
      run,
      replay,
      explain,
      plan,
      compare,
      graph,
      timeline,
      report,
      bundle,
      ctl
   };
   enum class GraphFormat { dot, mermaid };

   Command command = Command::none;
   std::string state;  // the state document; empty for none
   std::string events; // of replay; "-" is standard input

   Verify::Machine machine = Verify::Machine::dataflow;
   bool both = false; // both machines, each on outputs of its own
   Vorn::RunMode mode = Vorn::RunMode::asynchronous; // of the dataflow machine
   std::optional<uint32_t> sliceItems;               // none: slices by time
   bool manual = false; // tasks run only when a host line says so
   Lidra::AddressFamily af = Lidra::AddressFamily::ipv4;
   std::optional<uint32_t> seed;
   Pelk::TraceLevels trace;
   std::vector<std::string> toggles; // NAME=on or NAME=off, checked
   std::string toggleFile;
   bool json = false;
   // run --watch: the socket to listen on, the folder to keep the outputs in, and the
   // address to serve metrics at; empty for none. ctl: the socket to connect to.
   std::string control;
   std::string stateFolder;
   std::string metrics;
   std::string record;    // run --watch, replay: the file to record to; empty for none
   std::string recording; // timeline, report, bundle: the recording to look at
   std::string output;    // the file that they write; empty for standard output
   bool watch = false;    // run: stay and follow the file
   bool verify = false;
   Checks checks = Checks::plausible;

   std::vector<uint16_t> vlans; // of explain; with vrfs empty: all of them
   std::vector<std::string> vrfs;

   GraphFormat graphFormat = GraphFormat::dot;

   std::string question; // of ctl
   std::string levels;   // that it sets; empty for none
   bool follow = false;
};

// Those for each machine: with both of them two, the reactor's first.
std::vector<Options> optionsOfEach(Options const& options);

// The options, or the status to end with at once, when what the command line asks for
// (help, the version, a message about bad usage) was printed.
struct ParsedOptions {
   Options options;
   std::optional<int> status;
};
ParsedOptions parseOptions(int argc, char const* const* argv);

// Shows the program's commands with all their options to what is made of them: manual
// pages, shell completions.
void showCommands(std::function<void(CLI::App&)> const& show);

} // namespace Agent
