#include "agent/Options.h"

#include "agent/ExitStatus.h"
#include "agent/ManPages.h"
#include "agent/OptionChecks.h"
#include "agent/OptionGroups.h"
#include "agent/Version.h"
#include "pelk/Printable.h"

#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

namespace {

class CommandLine {
 public:
   CommandLine()
      : app_("compute the transit interfaces of EVPN multicast over VXLAN",
             "mcastvpn-agent") {
      app_.formatter(std::make_shared<ManFormatter>(
         std::map<std::string, ManPage>{{"", Pages::kProgram},
                                        {"run", Pages::kRun},
                                        {"replay", Pages::kReplay},
                                        {"explain", Pages::kExplain},
                                        {"plan", Pages::kPlan},
                                        {"compare", Pages::kCompare},
                                        {"graph", Pages::kGraph},
                                        {"ctl", Pages::kCtl},
                                        {"timeline", Pages::kTimeline},
                                        {"report", Pages::kReport},
                                        {"bundle", Pages::kBundle},
                                        {"help", Pages::kHelp}}));
      app_.set_help_flag("-h,--help", "print this page");
      app_.set_version_flag("--version", std::string("mcastvpn-agent ") + kVersion,
                            "print the version");
      app_.require_subcommand(0, 1);
      addRun();
      addReplay();
      addExplain();
      addPlan();
      addCompare();
      addGraph();
      addCtl();
      addTimeline();
      addReport();
      addBundle();
      auto* const help = app_.add_subcommand("help", "help on a command");
      help->add_option("COMMAND", helpTopic_, "the command");
      help->callback([this] { printHelp(); });
   }

   ParsedOptions parse(int argc, char const* const* argv) {
      try {
         app_.parse(argc, argv);
         if (!app_.get_subcommands().empty()) {
            groups_.finish();
            return {options_, status_};
         }
         std::cerr << app_.help();
         return {options_, kBadInput};
      } catch (CLI::ParseError const& error) {
         if (error.get_exit_code() == 0) {
            return {options_, app_.exit(error)};
         }
         std::cerr << "mcastvpn-agent: " << Pelk::printable(messageOf(error)) << "\n"
                   << "Try \"mcastvpn-agent " << helpOnCommand() << "\".\n";
         return {options_, kBadInput};
      }
   }

   CLI::App& app() { return app_; }

 private:
   CLI::App const* command() const {
      auto const commands = app_.get_subcommands();
      return commands.empty() ? nullptr : commands.front();
   }
   std::string helpOnCommand() const {
      return command() == nullptr ? "--help" : "help " + command()->get_name();
   }
   std::string messageOf(CLI::ParseError const& error) const {
      if (dynamic_cast<CLI::ExtrasError const*>(&error) == nullptr) {
         return error.what();
      }
      auto const extras = app_.remaining(true);
      auto const first = extras.empty() ? std::string() : extras.front();
      if (command() != nullptr) {
         return command()->get_name() + ": " +
                refusal(first, "what \"mcastvpn-agent " + helpOnCommand() + "\" lists");
      }
      return refusal(first,
                     "a command: run, replay, explain, plan, compare, graph, timeline, "
                     "report, bundle, ctl or help");
   }

   void addRun() {
      auto& run = addCommand(
         "run", Options::Command::run,
         "publish a state, run the machine until it is idle, print its outputs");
      groups_.addState(run);
      run.add_flag("--watch", options_.watch,
                   "stay, publish what is new in the file, print what that changes");
      groups_.addMachines(run);
      groups_.addCommon(run);
      groups_.addVerify(run);
      groups_.addRecord(run);
      groups_.addService(run);
      run.add_flag("--json", options_.json, "print the outputs as a JSON document");
   }

   void addReplay() {
      auto& replay =
         addCommand("replay", Options::Command::replay,
                    "apply a file of changes line by line, print what each one does");
      replay
         .add_option("EVENTS", options_.events, "the event file; - for standard input")
         ->required()
         ->type_name("FILE")
         ->check(CLI::Validator(checkFile, ""));
      replay.add_option("--state", options_.state, "the state document to start from")
         ->type_name("FILE")
         ->check(CLI::Validator(checkFile, ""));
      groups_.addMachines(replay);
      groups_.addCommon(replay);
      groups_.addVerify(replay);
      groups_.addRecord(replay);
      replay.add_flag("--manual", options_.manual,
                      "tasks run only when a host line says so");
   }

   void addExplain() {
      auto& explain =
         addCommand("explain", Options::Command::explain,
                    "why an SBD VLAN is enabled or not, and what would turn that");
      groups_.addState(explain,
                       "the state document (- for standard input), or a recording");
      groups_.addChoice(explain);
      groups_.addInputs(explain);
      explain.add_flag("--json", options_.json, "print JSON, for programs");
   }

   void addPlan() {
      auto& plan = addCommand(
         "plan", Options::Command::plan,
         "what a start over the outputs in a state would do to each of them");
      groups_.addState(plan);
      groups_.addMachine(plan);
      groups_.addCommon(plan);
      plan.add_flag("--json", options_.json,
                    "print the changes as a JSON Patch document");
   }

   void addCompare() {
      auto& compare = addCommand("compare", Options::Command::compare,
                                 "where the two machines differ on a state, and why");
      groups_.addState(compare);
      groups_.addCommon(compare);
      compare.add_flag("--json", options_.json, "print JSON, for programs");
   }

   void addGraph() {
      auto& graph =
         addCommand("graph", Options::Command::graph,
                    "print the pipeline of the dataflow machine, every edge");
      groups_.addGraphFormat(graph);
   }

   void addCtl() {
      auto& ctl =
         addCommand("ctl", Options::Command::ctl, "ask an agent that is running");
      ctl.add_option("QUESTION", options_.question, "what is asked")
         ->required()
         ->check(
            oneOf({"show", "explain", "plan", "stats", "trace", "verify", "log-level"}))
         ->type_name("NAME");
      ctl.add_option("LEVELS", options_.levels,
                     "(log-level) trace these from now on: 7, 6-9, all or none")
         ->type_name("LEVELS");
      groups_.addControl(ctl);
      groups_.addChoice(ctl);
      ctl.add_flag("--follow", options_.follow,
                   "(trace) go on with what is traced from now on");
      ctl.add_flag("--json", options_.json, "print JSON, for programs");
   }

   void addTimeline() {
      auto& timeline =
         addLooking("timeline", Options::Command::timeline,
                    "make a timeline of a recording, for a viewer of Chrome traces");
      addOutput(timeline, "write to this file (standard output)");
   }

   void addReport() {
      auto& report =
         addLooking("report", Options::Command::report,
                    "make a page of a recording, to be looked at with a browser");
      addOutput(report, "the page")->required();
   }

   void addBundle() {
      auto& bundle = addLooking(
         "bundle", Options::Command::bundle,
         "put what a bug report needs of a recording into one compressed file");
      addOutput(bundle, "the bundle")->required();
   }

   CLI::App& addCommand(std::string const& name, Options::Command which,
                        std::string const& description) {
      auto& command = *app_.add_subcommand(name, description);
      command.callback([this, which] { options_.command = which; });
      return command;
   }

   // One that looks at a recording.
   CLI::App& addLooking(std::string const& name, Options::Command which,
                        std::string const& description) {
      auto& command = addCommand(name, which, description);
      command.add_option("RECORDING", options_.recording, "the recording, or a bundle")
         ->required()
         ->type_name("FILE")
         ->check(CLI::Validator(checkRealFile, ""));
      return command;
   }

   CLI::Option* addOutput(CLI::App& command, std::string const& description) {
      return command.add_option("-o,--output", options_.output, description)
         ->type_name("FILE")
         ->check(CLI::Validator(checkRealFile, ""));
   }

   void printHelp() {
      status_ = 0;
      if (helpTopic_.empty()) {
         // App::help() would be that of the command that runs, which is this one.
         std::cout << app_.get_formatter()->make_help(&app_, "mcastvpn-agent",
                                                      CLI::AppFormatMode::Normal);
         return;
      }
      auto const commands = app_.get_subcommands(
         [this](CLI::App const* each) { return each->get_name() == helpTopic_; });
      if (commands.empty()) {
         throw CLI::ValidationError(
            "help",
            refusal(helpTopic_, "run, replay, explain, plan, compare, graph, timeline, "
                                "report, bundle or ctl"));
      }
      std::cout << commands.front()->help("mcastvpn-agent");
   }

   CLI::App app_;
   Options options_;
   OptionGroups groups_{options_};
   std::optional<int> status_;
   std::string helpTopic_;
};

} // namespace

std::vector<Options> optionsOfEach(Options const& options) {
   std::vector<Options> each{options};
   if (options.both) {
      each.push_back(options);
      each[0].machine = Verify::Machine::reactor;
      each[1].machine = Verify::Machine::dataflow;
   }
   return each;
}

ParsedOptions parseOptions(int argc, char const* const* argv) {
   return CommandLine().parse(argc, argv);
}

void showCommands(std::function<void(CLI::App&)> const& show) {
   CommandLine line;
   show(line.app());
}

} // namespace Agent
