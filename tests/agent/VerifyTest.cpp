#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace TestSupport;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char const* kRed = R"("mcastEvpnConfig": { "transitVrf": ["red"] },
   "pegVlanStatus": { "pegVlan": [10] },
   "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
      "localVtepAddr": "10.0.0.1", "vrfToSBDVlan": { "red": 10 } } } })";

class VerifyOption : public testing::Test {
 protected:
   Outcome run(std::string const& state, std::vector<std::string> options) {
      options.insert(options.begin(), {"run", "--json", "--verify"});
      options.push_back(folder_.write("state.json", state));
      return runAgent(folder_, options);
   }
   Outcome replay(std::string const& events, std::vector<std::string> options) {
      options.insert(options.begin(),
                     {"replay", "--verify", "--state",
                      folder_.write("state.json", std::string("{") + kRed + "}")});
      options.push_back(folder_.write("events.jsonl", events));
      return runAgent(folder_, options);
   }

   TemporaryFolder folder_;
};

class VerifyOptionOf : public VerifyOption,
                       public testing::WithParamInterface<char const*> {};

} // namespace

TEST_P(VerifyOptionOf, EveryExampleSumsUpWithoutAnError) {
   for (auto const* state : {"leaf-pair", "leaf-pair-peer", "minimal"}) {
      auto const outcome =
         runAgent(folder_, {"run", "--json", "--verify", "--sm", GetParam(),
                            std::string("examples/") + state + ".jsonc"});
      EXPECT_EQ(outcome.status, 0);
      EXPECT_EQ(outcome.err, "mcastvpn-agent: --verify: 1 comparison, 0 errors, 0 "
                             "path-dependent differences\n");
   }
   auto const story =
      runAgent(folder_, {"replay", "--verify", "--sm", GetParam(), "--state",
                         "examples/minimal.jsonc", "examples/story.jsonl"});
   EXPECT_EQ(story.status, 0);
   EXPECT_EQ(story.err, "mcastvpn-agent: --verify: 13 comparisons, 0 errors, 0 "
                        "path-dependent differences\n");
}

TEST_P(VerifyOptionOf, AnotherWriterIsToldOfOnceWithItsPlaceAndItsCase) {
   auto const outcome =
      replay("{\"op\":\"add\",\"path\":\"/transitIntfColl/intf/Vlan20\",\"value\":{}}\n"
             "{\"host\":\"drain\"}\n"
             "{\"op\":\"remove\",\"path\":\"/membershipJoinStatus/vlan/10\"}\n",
             {"--sm", GetParam()});
   EXPECT_EQ(outcome.status, 0) << outcome.out;
   bool const isReactor = std::string(GetParam()) == "reactor";
   EXPECT_THAT(
      outcome.err,
      testing::MatchesRegex(
         std::string("mcastvpn-agent: --verify: .*events.jsonl:1: "
                     "/transitIntfColl/intf/Vlan20: 0.0.0.0 stands here; the plain "
                     "rule says nothing; path-dependent, ") +
         (isReactor ? "foreign" : "late") +
         " entry: [^\n]*\n"
         "mcastvpn-agent: --verify: .*events.jsonl:3: "
         "/membershipJoinStatus/vlan/10: nothing stands here; the plain rule says "
         ".0.0.0.0, 0.0.0.0. include Null0; path-dependent, taken away: [^\n]*\n"
         "mcastvpn-agent: --verify: 4 comparisons, 0 errors, 2 path-dependent "
         "differences\n"));
}

INSTANTIATE_TEST_SUITE_P(OfEachMachine, VerifyOptionOf,
                         testing::Values("reactor", "dataflow"));

TEST_F(VerifyOption, WhatTheReactorLeavesAtItsStartIsToldOf) {
   auto const outcome = run(std::string("{") + kRed +
                               R"(, "transitIntfColl": { "intf": { "Vlan20": {} } } })",
                            {"--sm", "reactor"});
   EXPECT_EQ(outcome.status, 0);
   EXPECT_THAT(outcome.err, HasSubstr("/transitIntfColl/intf/Vlan20: "));
   EXPECT_THAT(outcome.err, HasSubstr("path-dependent, foreign entry: "));
   EXPECT_THAT(outcome.err, HasSubstr("0 errors, 1 path-dependent difference\n"));
}

TEST_F(VerifyOption, AWrongMachineEndsItWithThreeAndAMessageForEachDifference) {
   // With AddressSanitizer, its library need not stand before the one that is
   // preloaded.
   auto const outcome = runShell(
      folder_, "LD_PRELOAD='" NO_MACHINE "' ASAN_OPTIONS=verify_asan_link_order=0 " +
                  shellQuoted(AGENT_PROGRAM) +
                  " run --json --verify --sm reactor examples/minimal.jsonc");
   EXPECT_EQ(outcome.status, 3);
   EXPECT_EQ(
      outcome.err,
      "mcastvpn-agent: --verify: examples/minimal.jsonc: /transitIntfColl/intf/Vlan10: "
      "nothing stands here; the plain rule says 10.0.0.100; an error of the machine\n"
      "mcastvpn-agent: --verify: examples/minimal.jsonc: "
      "/membershipJoinStatus/vlan/10: nothing stands here; the plain rule says "
      "(0.0.0.0, 0.0.0.0) include Null0; an error of the machine\n"
      "mcastvpn-agent: --verify: 1 comparison, 2 errors, 0 path-dependent "
      "differences\n");
}

TEST_F(VerifyOption, AWrongMachineCountsMoreThanAFailedTest) {
   auto const outcome = runShell(
      folder_,
      "echo '{\"op\":\"test\",\"path\":\"/mlagStatus/mlagState\",\"value\":1}' | "
      "LD_PRELOAD='" NO_MACHINE "' ASAN_OPTIONS=verify_asan_link_order=0 " +
         shellQuoted(AGENT_PROGRAM) +
         " replay --verify --sm reactor --state examples/minimal.jsonc -");
   EXPECT_EQ(outcome.status, 3) << outcome.err;
   EXPECT_THAT(outcome.out, HasSubstr("\"failed\":1"));
   EXPECT_THAT(outcome.err, HasSubstr("2 comparisons, 2 errors"));
}

TEST_F(VerifyOption, NothingIsComparedWhileNoMachineRuns) {
   auto const outcome = replay("{\"host\":\"stop\"}\n"
                               "{\"op\":\"remove\",\"path\":\"/mcastEvpnConfig\"}\n"
                               "{\"host\":\"start\"}\n",
                               {"--sm", "reactor"});
   EXPECT_EQ(outcome.status, 0);
   EXPECT_THAT(outcome.err, HasSubstr("1 comparison, 0 errors, 0 path-dependent"));
   EXPECT_THAT(outcome.err, Not(HasSubstr("stands here")));
}
