#include "agent/Options.h"

#include "agent/ExitStatus.h"
#include "agent/ManPages.h"
#include "agent/OptionChecks.h"
#include "agent/OptionRules.h"
#include "agent/Version.h"
#include "pelk/Printable.h"

#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

namespace {

// Where an agent listens that a supervisor starts.
constexpr char const* kDefaultControl = "/run/mcastvpn-agent/control";

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
            finish();
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
      auto* const run = app_.add_subcommand(
         "run", "publish a state, run the machine until it is idle, print its outputs");
      run->callback([this] { options_.command = Options::Command::run; });
      addState(*run);
      run->add_flag("--watch", options_.watch,
                    "stay, publish what is new in the file, print what that changes");
      addMachine(*run, {"reactor", "dataflow", "both"},
                 "the machine: dataflow (the default), reactor, or both, each on "
                 "outputs of its own");
      addCommon(*run);
      addVerify(*run);
      addRecord(*run);
      addService(*run);
      run->add_flag("--json", options_.json, "print the outputs as a JSON document");
   }

   void addReplay() {
      auto* const replay = app_.add_subcommand(
         "replay", "apply a file of changes line by line, print what each one does");
      replay->callback([this] { options_.command = Options::Command::replay; });
      replay
         ->add_option("EVENTS", options_.events, "the event file; - for standard input")
         ->required()
         ->type_name("FILE")
         ->check(CLI::Validator(checkFile, ""));
      replay->add_option("--state", options_.state, "the state document to start from")
         ->type_name("FILE")
         ->check(CLI::Validator(checkFile, ""));
      addMachine(*replay, {"reactor", "dataflow", "both"},
                 "the machine: dataflow (the default), reactor, or both, each on "
                 "outputs of its own");
      addCommon(*replay);
      addVerify(*replay);
      addRecord(*replay);
      replay->add_flag("--manual", options_.manual,
                       "tasks run only when a host line says so");
   }

   void addExplain() {
      auto* const explain = app_.add_subcommand(
         "explain", "why an SBD VLAN is enabled or not, and what would turn that");
      explain->callback([this] { options_.command = Options::Command::explain; });
      addState(*explain, "the state document (- for standard input), or a recording");
      addChoice(*explain);
      addInputs(*explain);
      explain->add_flag("--json", options_.json, "print JSON, for programs");
   }

   void addPlan() {
      auto* const plan = app_.add_subcommand(
         "plan", "what a start over the outputs in a state would do to each of them");
      plan->callback([this] { options_.command = Options::Command::plan; });
      addState(*plan);
      addMachine(*plan, {"reactor", "dataflow"},
                 "the machine: dataflow (the default) or reactor");
      addCommon(*plan);
      plan->add_flag("--json", options_.json,
                     "print the changes as a JSON Patch document");
   }

   void addCompare() {
      auto* const compare = app_.add_subcommand(
         "compare", "where the two machines differ on a state, and why");
      compare->callback([this] { options_.command = Options::Command::compare; });
      addState(*compare);
      addCommon(*compare);
      compare->add_flag("--json", options_.json, "print JSON, for programs");
   }

   void addGraph() {
      auto* const graph = app_.add_subcommand(
         "graph", "print the pipeline of the dataflow machine, every edge");
      graph->callback([this] { options_.command = Options::Command::graph; });
      graph->add_option("--format", graphFormat_, "dot (the default) or mermaid")
         ->check(oneOf({"dot", "mermaid"}))
         ->type_name("FORMAT");
   }

   void addCtl() {
      auto* const ctl = app_.add_subcommand("ctl", "ask an agent that is running");
      ctl->callback([this] { options_.command = Options::Command::ctl; });
      ctl->add_option("QUESTION", options_.question, "what is asked")
         ->required()
         ->check(
            oneOf({"show", "explain", "plan", "stats", "trace", "verify", "log-level"}))
         ->type_name("NAME");
      ctl->add_option("LEVELS", options_.levels,
                      "(log-level) trace these from now on: 7, 6-9, all or none")
         ->type_name("LEVELS");
      options_.control = kDefaultControl;
      ctl->add_option("--control", options_.control,
                      "the socket of the agent (/run/mcastvpn-agent/control)")
         ->type_name("PATH");
      addChoice(*ctl);
      ctl->add_flag("--follow", options_.follow,
                    "(trace) go on with what is traced from now on");
      ctl->add_flag("--json", options_.json, "print JSON, for programs");
   }

   // Of what is explained.
   void addChoice(CLI::App& command) {
      command
         .add_option("--vlan", vlans_, "this VLAN (all that have a VRF or an output)")
         ->check(numberFrom(1, 4094))
         ->type_name("N")
         ->allow_extra_args(false);
      command.add_option("--vrf", options_.vrfs, "the VLAN that this VRF maps to")
         ->type_name("NAME")
         ->allow_extra_args(false);
   }

   void addTimeline() {
      auto* const timeline =
         addLooking("timeline", Options::Command::timeline,
                    "make a timeline of a recording, for a viewer of Chrome traces");
      addOutput(*timeline, "write to this file (standard output)");
   }

   void addReport() {
      auto* const report =
         addLooking("report", Options::Command::report,
                    "make a page of a recording, to be looked at with a browser");
      addOutput(*report, "the page")->required();
   }

   void addBundle() {
      auto* const bundle = addLooking(
         "bundle", Options::Command::bundle,
         "put what a bug report needs of a recording into one compressed file");
      addOutput(*bundle, "the bundle")->required();
   }

   // A command that looks at a recording.
   CLI::App* addLooking(char const* name, Options::Command which,
                        std::string const& description) {
      auto* const command = app_.add_subcommand(name, description);
      command->callback([this, which] { options_.command = which; });
      command->add_option("RECORDING", options_.recording, "the recording, or a bundle")
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

   void addState(CLI::App& command, std::string const& description =
                                       "the state document; - for standard input") {
      command.add_option("STATE", options_.state, description)
         ->required()
         ->type_name("FILE")
         ->check(CLI::Validator(checkFile, ""));
   }

   // What any command that reads a state takes.
   void addInputs(CLI::App& command) {
      command
         .add_option("--af", family_, "the address family: ipv4 (the default) or ipv6")
         ->check(oneOf({"ipv4", "ipv6"}))
         ->type_name("FAMILY");
      command
         .add_option("--toggle", options_.toggles,
                     "override a feature toggle: McastVpnTransitMlag=on or =off")
         ->check(toggleState())
         ->type_name("NAME=STATE")
         ->allow_extra_args(false);
      command
         .add_option("--toggle-file", options_.toggleFile,
                     "read the feature toggles from this JSON file")
         ->type_name("FILE")
         ->check(CLI::Validator(checkFile, ""));
      command.add_flag("--unchecked", unchecked_,
                       "let through every value that the C++ types can hold");
   }

   void addMachine(CLI::App& command, std::vector<std::string> const& names,
                   std::string const& description) {
      command.add_option("--sm", machine_, description)
         ->check(oneOf(names))
         ->type_name("NAME");
   }

   // What any command that runs a machine takes besides.
   void addCommon(CLI::App& command) {
      command
         .add_option("--mode", mode_,
                     "how the dataflow machine scans: sync, or async (the default)")
         ->check(oneOf({"sync", "async"}))
         ->type_name("MODE");
      command
         .add_option(
            "--slice-items", sliceItems_,
            "a task of the dataflow machine yields at every Nth item (by time)")
         ->check(numberFrom(1))
         ->type_name("N");
      command
         .add_option("--seed", seed_,
                     "the hash seed, which fixes the order of iteration (random)")
         ->check(numberFrom(0))
         ->type_name("N");
      command
         .add_option("--trace", trace_,
                     "print the text trace of these levels: 7, 6-9, 4,8 or all")
         ->check(traceLevels())
         ->type_name("LEVELS");
      addInputs(command);
   }

   void addVerify(CLI::App& command) {
      command.add_flag(
         "--verify", verify_,
         "compare the outputs with the plain rule whenever the machine is idle");
   }

   void addRecord(CLI::App& command) {
      command
         .add_option("--record", options_.record,
                     "record what happens to this file, for replay to play again")
         ->check(CLI::Validator(checkName, ""))
         ->type_name("FILE");
   }

   // What an agent that stays has beside the file.
   void addService(CLI::App& command) {
      command
         .add_option("--control", control_,
                     "(--watch) answer \"ctl\" at this socket, which is made")
         ->check(CLI::Validator(checkName, ""))
         ->type_name("PATH");
      command
         .add_option("--metrics", options_.metrics,
                     "(--watch) serve Prometheus at this address; a port alone: "
                     "loopback")
         ->check(CLI::Validator(checkName, ""))
         ->type_name("ADDR:PORT");
      command
         .add_option("--state-dir", options_.stateFolder,
                     "(--watch) keep the outputs in this folder, for the next start")
         ->check(CLI::Validator(checkName, ""))
         ->type_name("FOLDER");
   }

   // What the options say together.
   void finish() {
      options_.both =
         machine_ == "both" || options_.command == Options::Command::compare;
      options_.machine =
         machine_ == "reactor" ? Verify::Machine::reactor : Verify::Machine::dataflow;
      options_.mode =
         mode_ == "sync" ? Vorn::RunMode::synchronous : Vorn::RunMode::asynchronous;
      options_.sliceItems = numberOf(sliceItems_);
      for (auto const& vlan : vlans_) {
         options_.vlans.push_back(static_cast<uint16_t>(numberOf(vlan).value_or(0)));
      }
      options_.graphFormat = graphFormat_ == "mermaid" ? Options::GraphFormat::mermaid
                                                       : Options::GraphFormat::dot;
      options_.af = Lidra::addressFamilyFromText(family_);
      options_.seed = numberOf(seed_);
      if (options_.command != Options::Command::ctl) {
         options_.control = control_;
      }
      checkTogether(options_);
      options_.verify = verify_;
      if (!trace_.empty()) {
         options_.trace = Pelk::TraceLevels::fromText(trace_);
      }
      options_.checks = unchecked_ ? Checks::unchecked : Checks::plausible;
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
   std::optional<int> status_;
   std::string helpTopic_;
   std::string control_; // to listen on
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
