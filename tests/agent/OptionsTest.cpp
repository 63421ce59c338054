#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Options : public testing::Test {
 protected:
   TemporaryFolder folder_;
};

struct BadUsage {
   char const* what;
   std::vector<std::string> args;
   char const* message;
};

class RefusedUsage : public testing::TestWithParam<BadUsage> {};

} // namespace

TEST_F(Options, HelpGoesToStandardOutput) {
   for (auto const& args :
        std::vector<std::vector<std::string>>{{"--help"}, {"help"}}) {
      auto const outcome = runAgent(folder_, args);
      EXPECT_EQ(outcome.status, 0);
      EXPECT_EQ(outcome.err, "");
      EXPECT_THAT(outcome.out, HasSubstr("compute the transit interfaces"));
      EXPECT_THAT(outcome.out, HasSubstr("replay"));
   }
}

TEST_F(Options, HelpOfACommandNamesItsOptions) {
   for (auto const* command : {"run", "replay", "plan"}) {
      auto const asked = runAgent(folder_, {"help", command});
      EXPECT_EQ(asked.status, 0);
      for (auto const* option :
           {"--sm", "--af", "--mode", "--slice-items", "--seed", "--trace", "--toggle",
            "--toggle-file", "--unchecked"}) {
         EXPECT_THAT(asked.out, HasSubstr(option)) << command;
      }
      EXPECT_EQ(runAgent(folder_, {command, "--help"}).out, asked.out);
   }
}

TEST_F(Options, HelpOfEachCommandIsAManualPage) {
   auto const program = runAgent(folder_, {"help"}).out;
   EXPECT_THAT(program, StartsWith("NAME\n    mcastvpn-agent - "));
   for (std::string const command : {"run", "replay", "explain", "plan", "compare",
                                     "graph", "timeline", "report", "bundle", "help"}) {
      EXPECT_THAT(program, HasSubstr("\n    " + command + "  "));
      auto const page = runAgent(folder_, {"help", command}).out;
      EXPECT_THAT(page, StartsWith("NAME\n    mcastvpn-agent " + command + " - "));
      for (auto const* section :
           {"SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "EXAMPLES"}) {
         EXPECT_THAT(page, HasSubstr("\n\n" + std::string(section) + "\n    "))
            << command;
      }
      std::istringstream in(page);
      for (std::string line; std::getline(in, line);) {
         EXPECT_LE(line.size(), 80U) << line;
      }
   }
}

TEST_F(Options, VersionNamesProgramAndVersion) {
   auto const outcome = runAgent(folder_, {"--version"});
   EXPECT_EQ(outcome.status, 0);
   EXPECT_THAT(outcome.out,
               testing::MatchesRegex("mcastvpn-agent [0-9]+.[0-9]+.[0-9]+\n"));
}

TEST_F(Options, NoCommandShowsTheHelpOnStandardErrorAndEndsWithTwo) {
   auto const outcome = runAgent(folder_, {});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.out, "");
   EXPECT_THAT(outcome.err, HasSubstr("compute the transit interfaces"));
}

TEST_F(Options, TheReactorTakesTheOptionsOfTasksSinceItHasNone) {
   auto const outcome =
      runAgent(folder_, {"run", "--mode", "sync", "--slice-items", "3", "--sm",
                         "reactor", "--json", "examples/minimal.jsonc"});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Options, AToggleTakesOneValueAndLeavesTheStateAlone) {
   auto const outcome = runAgent(
      folder_, {"run", "--json", "--toggle", "McastVpnTransitMlag=off", "--toggle",
                "McastVpnTransitMlag=on", "examples/minimal.jsonc"});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   EXPECT_THAT(outcome.out, HasSubstr("Null0"));
}

TEST_P(RefusedUsage, EndsWithTwoAndSaysWhy) {
   TemporaryFolder folder;
   auto const outcome = runAgent(folder, GetParam().args);
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.out, "");
   auto const& args = GetParam().args;
   bool const isCommand = args[0] == "run" || args[0] == "replay" || args[0] == "graph";
   if (isCommand) {
      EXPECT_EQ(outcome.err, std::string("mcastvpn-agent: ") + GetParam().message +
                                "\nTry \"mcastvpn-agent help " + args[0] + "\".\n");
   } else {
      EXPECT_THAT(outcome.err, StartsWith(std::string("mcastvpn-agent: ") +
                                          GetParam().message + "\n"));
   }
}

INSTANTIATE_TEST_SUITE_P(
   OfEveryKind, RefusedUsage,
   testing::Values(
      BadUsage{"UnknownCommand",
               {"walk"},
               "\"walk\" stands here; allowed is a command: run, replay, explain, "
               "plan, compare, graph, timeline, report, bundle, ctl or help"},
      BadUsage{
         "UnknownOption",
         {"run", "--fast", "x"},
         "run: \"--fast\" stands here; allowed is what \"mcastvpn-agent help run\" "
         "lists"},
      BadUsage{
         "SecondState",
         {"run", "x", "y"},
         "run: \"y\" stands here; allowed is what \"mcastvpn-agent help run\" lists"},
      BadUsage{"NoState", {"run"}, "STATE is required"},
      BadUsage{"NoEvents", {"replay"}, "EVENTS is required"},
      BadUsage{
         "EmptyState",
         {"run", ""},
         "STATE: \"\" stands here; allowed is the name of a file, or - for standard "
         "input"},
      BadUsage{
         "StandardInputTwice",
         {"replay", "--state", "-", "-"},
         "--state: \"-\" stands here; allowed is a file, as EVENTS is standard input"},
      BadUsage{
         "Machine",
         {"run", "--sm", "engine", "x"},
         "--sm: \"engine\" stands here; allowed is one of reactor, dataflow, both"},
      BadUsage{"Family",
               {"run", "--af", "ipv5", "x"},
               "--af: \"ipv5\" stands here; allowed is one of ipv4, ipv6"},
      BadUsage{"Mode",
               {"run", "--mode", "fast", "x"},
               "--mode: \"fast\" stands here; allowed is one of sync, async"},
      BadUsage{"Seed",
               {"run", "--seed", "-1", "x"},
               "--seed: \"-1\" stands here; allowed is a number from 0 to 4294967295"},
      BadUsage{
         "SliceItems",
         {"run", "--slice-items", "0", "x"},
         "--slice-items: \"0\" stands here; allowed is a number from 1 to 4294967295"},
      BadUsage{
         "ToggleName",
         {"run", "--toggle", "Transit=on", "x"},
         "--toggle: \"Transit=on\" stands here; allowed is McastVpnTransitMlag=on or "
         "McastVpnTransitMlag=off"},
      BadUsage{"ToggleState",
               {"run", "--toggle", "McastVpnTransitMlag=maybe", "x"},
               "--toggle: \"McastVpnTransitMlag=maybe\" stands here; allowed is "
               "McastVpnTransitMlag=on or McastVpnTransitMlag=off"},
      BadUsage{"HelpTopic",
               {"help", "walk"},
               "help: \"walk\" stands here; allowed is run, replay, explain, plan, "
               "compare, graph, timeline, report, bundle or ctl"},
      BadUsage{"WatchOfNoFile",
               {"run", "--watch", "-"},
               "--watch: \"-\" stands here; allowed is a file, which can be followed"},
      BadUsage{"ExplainOfNoVlan",
               {"explain", "--vlan", "4095", "x"},
               "--vlan: \"4095\" stands here; allowed is a number from 1 to 4094"},
      BadUsage{"PlanOfNothing", {"plan"}, "STATE is required"},
      BadUsage{"GraphFormat",
               {"graph", "--format", "svg"},
               "--format: \"svg\" stands here; allowed is one of dot, mermaid"}),
   [](auto const& param) { return std::string(param.param.what); });

TEST_F(Options, BadTraceLevelsAreNamedWithWhatIsAllowed) {
   auto const outcome = runAgent(folder_, {"run", "--trace", "17", "x"});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, StartsWith("mcastvpn-agent: --trace: "));
   EXPECT_THAT(outcome.err, HasSubstr("17"));
   EXPECT_THAT(outcome.err, HasSubstr("allowed"));
}
