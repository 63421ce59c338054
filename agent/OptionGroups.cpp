#include "agent/OptionGroups.h"

#include "agent/OptionChecks.h"
#include "agent/OptionRules.h"

namespace Agent {

namespace {

// Where an agent listens that a supervisor starts.
constexpr char const* kSupervisedControl = "/run/mcastvpn-agent/control";

} // namespace

void OptionGroups::addState(CLI::App& command, std::string const& description) {
   command.add_option("STATE", options_.state, description)
      ->required()
      ->type_name("FILE")
      ->check(CLI::Validator(checkFile, ""));
}

void OptionGroups::addInputs(CLI::App& command) {
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

void OptionGroups::addMachine(CLI::App& command) {
   addMachine(command, {"reactor", "dataflow"},
              "the machine: dataflow (the default) or reactor");
}

void OptionGroups::addMachines(CLI::App& command) {
   addMachine(
      command, {"reactor", "dataflow", "both"},
      "the machine: dataflow (the default), reactor, or both, each on outputs of "
      "its own");
}

void OptionGroups::addMachine(CLI::App& command, std::vector<std::string> const& names,
                              std::string const& description) {
   command.add_option("--sm", machine_, description)
      ->check(oneOf(names))
      ->type_name("NAME");
}

void OptionGroups::addCommon(CLI::App& command) {
   command
      .add_option("--mode", mode_,
                  "how the dataflow machine scans: sync, or async (the default)")
      ->check(oneOf({"sync", "async"}))
      ->type_name("MODE");
   command
      .add_option("--slice-items", sliceItems_,
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

void OptionGroups::addVerify(CLI::App& command) {
   command.add_flag(
      "--verify", verify_,
      "compare the outputs with the plain rule whenever the machine is idle");
}

void OptionGroups::addRecord(CLI::App& command) {
   command
      .add_option("--record", options_.record,
                  "record what happens to this file, for replay to play again")
      ->check(CLI::Validator(checkName, ""))
      ->type_name("FILE");
}

void OptionGroups::addService(CLI::App& command) {
   command
      .add_option("--control", listenOn_,
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

void OptionGroups::addControl(CLI::App& command) {
   options_.control = kSupervisedControl;
   command
      .add_option("--control", options_.control,
                  "the socket of the agent (/run/mcastvpn-agent/control)")
      ->type_name("PATH");
}

void OptionGroups::addChoice(CLI::App& command) {
   command.add_option("--vlan", vlans_, "this VLAN (all that have a VRF or an output)")
      ->check(numberFrom(1, 4094))
      ->type_name("N")
      ->allow_extra_args(false);
   command.add_option("--vrf", options_.vrfs, "the VLAN that this VRF maps to")
      ->type_name("NAME")
      ->allow_extra_args(false);
}

void OptionGroups::addGraphFormat(CLI::App& command) {
   command.add_option("--format", graphFormat_, "dot (the default) or mermaid")
      ->check(oneOf({"dot", "mermaid"}))
      ->type_name("FORMAT");
}

void OptionGroups::finish() {
   options_.both = machine_ == "both" || options_.command == Options::Command::compare;
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
      options_.control = listenOn_;
   }
   checkTogether(options_);
   options_.verify = verify_;
   if (!trace_.empty()) {
      options_.trace = Pelk::TraceLevels::fromText(trace_);
   }
   options_.checks = unchecked_ ? Checks::unchecked : Checks::plausible;
}

} // namespace Agent
