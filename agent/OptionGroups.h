#pragma once

#include "agent/Options.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace Agent {

// The options that commands share, each group written once, and those whose texts
// finish() turns into values. What may stand in a text is checked at once.
class OptionGroups {
 public:
   // Fills these options, which outlive it.
   explicit OptionGroups(Options& options) : options_(options) {}
   OptionGroups(OptionGroups const&) = delete;
   OptionGroups& operator=(OptionGroups const&) = delete;

   void addState(CLI::App& command, std::string const& description =
                                       "the state document; - for standard input");
   // What any command that reads a state takes.
   void addInputs(CLI::App& command);
   // One of the two machines; with the second function also both of them.
   void addMachine(CLI::App& command);
   void addMachines(CLI::App& command);
   // What any command that runs a machine takes besides, the inputs included.
   void addCommon(CLI::App& command);
   void addVerify(CLI::App& command);
   void addRecord(CLI::App& command);
   // What an agent that stays has beside the file.
   void addService(CLI::App& command);
   // Of an agent that is asked.
   void addControl(CLI::App& command);
   // Of what is explained.
   void addChoice(CLI::App& command);
   void addGraphFormat(CLI::App& command);

   // What the options say together. REQUIRES that the command line was read, the
   // command included. CLI::ValidationError if they are not allowed together.
   void finish();

 private:
   void addMachine(CLI::App& command, std::vector<std::string> const& names,
                   std::string const& description);

   Options& options_;
   std::string listenOn_; // empty for nowhere
   std::string machine_ = "dataflow";
   std::string family_ = "ipv4";
   std::string mode_;
   std::string graphFormat_;
   std::string seed_;
   std::string trace_;
   std::string sliceItems_;
   std::vector<std::string> vlans_;
   bool verify_ = false;
   bool unchecked_ = false;
};

} // namespace Agent
