#include "agent/OptionRules.h"

#include "agent/OptionChecks.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace Agent {

namespace {

using Command = Options::Command;

[[noreturn]] void refuse(char const* option, std::string const& message) {
   throw CLI::ValidationError(option, message);
}

void checkStandardInput(Options const& options) {
   if (options.state == "-" && options.events == "-") {
      refuse("--state", refusal("-", "a file, as EVENTS is standard input"));
   }
   if (options.watch && options.state == "-") {
      refuse("--watch", refusal("-", "a file, which can be followed"));
   }
}

// What only one machine has, and most of it only one that stays.
void checkOfOneMachine(Options const& options) {
   struct {
      char const* name;
      std::string const& value;
      bool isOfReplay;
   } const wanted[] = {{"--record", options.record, true},
                       {"--control", options.control, false},
                       {"--metrics", options.metrics, false},
                       {"--state-dir", options.stateFolder, false}};
   for (auto const& [name, value, isOfReplay] : wanted) {
      if (value.empty()) {
         continue;
      }
      if (options.both) {
         refuse(name, refusal("both", "one machine: --sm dataflow or reactor"));
      }
      if (options.command == Command::run && !options.watch) {
         refuse(name,
                std::string("a run without --watch; allowed ") +
                   (isOfReplay ? "are run --watch and replay" : "is run --watch"));
      }
   }
}

// What is written takes the place of nothing that is read.
void checkFilesApart(Options const& options) {
   struct {
      char const* name;
      std::string const& written;
      std::string const& read;
   } const pairs[] = {{"--record", options.record, options.state},
                      {"--record", options.record, options.events},
                      {"--output", options.output, options.recording}};
   for (auto const& [name, written, read] : pairs) {
      std::error_code isNot;
      if (std::filesystem::equivalent(written, read, isNot)) {
         refuse(name, refusal(written, "another file than the one that is read"));
      }
   }
}

// What only one of the questions of ctl has.
void checkQuestion(Options const& options) {
   struct {
      char const* name;
      bool isGiven;
      std::string_view question;
   } const wanted[] = {{"--vlan", !options.vlans.empty(), "explain"},
                       {"--vrf", !options.vrfs.empty(), "explain"},
                       {"--follow", options.follow, "trace"},
                       {"LEVELS", !options.levels.empty(), "log-level"}};
   for (auto const& [name, isGiven, question] : wanted) {
      if (isGiven && options.question != question) {
         refuse(name, refusal(options.question, "ctl " + std::string(question)));
      }
   }
}

} // namespace

void checkTogether(Options const& options) {
   checkStandardInput(options);
   if (options.command == Command::ctl) {
      checkQuestion(options);
   } else {
      checkOfOneMachine(options);
   }
   checkFilesApart(options);
}

} // namespace Agent
