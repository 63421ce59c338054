#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
      EXPECT_THAT(outcome.out, HasSubstr("Computes the transit interfaces"));
      EXPECT_THAT(outcome.out, HasSubstr("replay"));
   }
}

TEST_F(Options, HelpOfACommandNamesItsOptions) {
   for (auto const* command : {"run", "replay"}) {
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
   EXPECT_THAT(outcome.err, HasSubstr("Computes the transit interfaces"));
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
   EXPECT_THAT(outcome.err, StartsWith("mcastvpn-agent: "));
   EXPECT_THAT(outcome.err, HasSubstr(GetParam().message));
   EXPECT_THAT(outcome.err, HasSubstr("Try \"mcastvpn-agent --help\"."));
}

INSTANTIATE_TEST_SUITE_P(
   OfEveryKind, RefusedUsage,
   testing::Values(
      BadUsage{"UnknownCommand", {"walk"}, "walk"},
      BadUsage{"UnknownOption", {"run", "--fast", "x"}, "--fast"},
      BadUsage{"NoState", {"run"}, "STATE"}, BadUsage{"NoEvents", {"replay"}, "EVENTS"},
      BadUsage{"Machine", {"run", "--sm", "engine", "x"}, "engine"},
      BadUsage{"Family", {"run", "--af", "ipv5", "x"}, "ipv5"},
      BadUsage{"Mode", {"run", "--mode", "fast", "x"}, "fast"},
      BadUsage{"Seed", {"run", "--seed", "twelve", "x"}, "twelve"},
      BadUsage{"SliceItems", {"run", "--slice-items", "0", "x"}, "0"},
      BadUsage{"Trace", {"run", "--trace", "17", "x"}, "17"},
      BadUsage{"ToggleName",
               {"run", "--toggle", "Transit=on", "x"},
               "\"Transit=on\" stands here; allowed is McastVpnTransitMlag=on"},
      BadUsage{"ToggleState",
               {"run", "--toggle", "McastVpnTransitMlag=maybe", "x"},
               "McastVpnTransitMlag=maybe"},
      BadUsage{"HelpTopic", {"help", "walk"}, "\"walk\" stands here"},
      BadUsage{"Dataflow",
               {"run", "--sm", "dataflow", "x"},
               "--sm dataflow: not in this build"},
      BadUsage{"Both", {"replay", "--sm", "both", "x"}, "--sm both: not in this build"},
      BadUsage{"Watch", {"run", "--watch", "x"}, "--watch: not in this build"},
      BadUsage{"Verify", {"run", "--verify", "x"}, "--verify: not in this build"},
      BadUsage{"Explain", {"explain", "x"}, "explain: not in this build"},
      BadUsage{"Plan", {"plan", "x"}, "plan: not in this build"},
      BadUsage{"Compare", {"compare", "x"}, "compare: not in this build"},
      BadUsage{"Graph", {"graph", "--format", "dot"}, "graph: not in this build"}),
   [](auto const& param) { return std::string(param.param.what); });
