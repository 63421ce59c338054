#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr char const* kRed = R"({
   "mcastEvpnConfig": { "transitVrf": ["red"] },
   "pegVlanStatus": { "pegVlan": [10] },
   "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
      "localVtepAddr": "10.0.0.1", "mlagVtepAddr": "10.0.0.100",
      "vrfToSBDVlan": { "red": 10 } } } } })";

// The agent with the dataflow machine.
class Dataflow : public testing::Test {
 protected:
   Outcome run(std::string const& state, std::vector<std::string> options) {
      options.insert(options.begin(), "run");
      options.push_back(folder_.write("state.json", state));
      return runAgent(folder_, options);
   }
   Outcome replay(std::string const& events, std::vector<std::string> options = {},
                  std::string const& state = kRed) {
      options.insert(options.begin(), {"replay", "--verify", "--state",
                                       folder_.write("state.json", state)});
      options.push_back(folder_.write("events.jsonl", events));
      return runAgent(folder_, options);
   }
   static std::vector<json> records(Outcome const& outcome) {
      std::vector<json> result;
      std::istringstream in(outcome.out);
      for (std::string line; std::getline(in, line);) {
         result.push_back(json::parse(line));
      }
      return result;
   }
   static json end(Outcome const& outcome) {
      auto const all = records(outcome);
      return all.empty() ? json() : all.back()["end"];
   }
   // The operations alone, as "add /path".
   static std::vector<std::string> operations(Outcome const& outcome) {
      std::vector<std::string> result;
      for (auto const& record : records(outcome)) {
         if (record.contains("op")) {
            result.push_back(record["op"].get<std::string>() + ' ' +
                             record["path"].get<std::string>());
         }
      }
      return result;
   }

   TemporaryFolder folder_;
};

std::vector<std::vector<std::string>> const kModes = {{"--mode", "sync"},
                                                      {"--mode", "async"},
                                                      {"--slice-items", "1"},
                                                      {"--slice-items", "3"}};

} // namespace

TEST_F(Dataflow, EveryExampleEndsInTheSameOutputsInEveryMode) {
   for (auto const* name : {"leaf-pair", "leaf-pair-peer", "minimal", "restart"}) {
      auto const example =
         readText(std::string(SOURCE_FOLDER "/examples/") + name + ".jsonc");
      auto const first = run(example, {"--json", "--verify"});
      EXPECT_EQ(first.status, 0) << first.err;
      for (auto options : kModes) {
         options.insert(options.end(), {"--json", "--verify"});
         auto const outcome = run(example, options);
         EXPECT_EQ(outcome.status, 0) << options[1] << outcome.err;
         EXPECT_EQ(outcome.out, first.out) << options[1];
      }
   }
}

TEST_F(Dataflow, TheStoryMakesTheSameChangesInEveryModeWhileTheMachineIsReady) {
   auto const story = readText(SOURCE_FOLDER "/examples/story.jsonl");
   auto const minimal = readText(SOURCE_FOLDER "/examples/minimal.jsonc");
   auto const first = replay(story, {"--seed", "1"}, minimal);
   EXPECT_EQ(first.status, 0) << first.out << first.err;
   for (auto options : kModes) {
      options.insert(options.end(), {"--seed", "1"});
      auto const outcome = replay(story, options, minimal);
      EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
      EXPECT_EQ(operations(outcome), operations(first)) << options[1];
      EXPECT_EQ(end(outcome)["ready"], true);
   }
}

TEST_F(Dataflow, PrintsTheConstructionTheFlagsAndTheSlicesAtTheEnd) {
   auto const outcome = replay("", {"--mode", "sync"});
   EXPECT_EQ(outcome.out, R"({"line":0}
{"op":"add","path":"/membershipJoinStatus/vlan/10","value":{"group":{},"routerIntf":{}}}
{"op":"add","path":"/membershipJoinStatus/vlan/10/group/0.0.0.0","value":{"source":{}}}
{"op":"add","path":"/membershipJoinStatus/vlan/10/group/0.0.0.0/source/0.0.0.0","value":{"excludeIntf":{},"includeIntf":{}}}
{"op":"add","path":"/membershipJoinStatus/vlan/10/group/0.0.0.0/source/0.0.0.0/includeIntf/Null0","value":{}}
{"op":"add","path":"/transitIntfColl/intf/Vlan10","value":{"ipAddr":"10.0.0.1"}}
{"end":{"idle":true,"ready":true,"slices":0,"tests":0,"failed":0}}
)");
}

TEST_F(Dataflow, SlicesByItemsAreRepeatable) {
   auto const once = replay("", {"--slice-items", "1", "--seed", "5"});
   EXPECT_EQ(replay("", {"--slice-items", "1", "--seed", "5"}).out, once.out);
   auto const coarse = replay("", {"--slice-items", "1000", "--seed", "5"});
   EXPECT_EQ(operations(once), operations(coarse));
   // Each reconciliation has a slice of its own; more stand where scans yield.
   EXPECT_GE(end(coarse)["slices"], 1);
}

TEST_F(Dataflow, RunsTasksByHandWhereItIsAskedTo) {
   std::string const more = R"({
      "mcastEvpnConfig": { "transitVrf": ["red", "blue", "green"] },
      "pegVlanStatus": { "pegVlan": [10, 20, 30] },
      "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
         "vrfToSBDVlan": { "red": 10, "blue": 20, "green": 30 } } } } })";
   std::vector<std::string> const byHand = {"--manual", "--slice-items", "1"};
   auto const untouched = replay("", byHand, more);
   EXPECT_EQ(untouched.status, 0) << untouched.err;
   EXPECT_EQ(end(untouched)["ready"], false);
   EXPECT_THAT(operations(untouched), IsEmpty());
   // What is compared is an idle machine; this one has work left.
   EXPECT_THAT(untouched.err, HasSubstr("0 comparisons"));

   auto const some = replay("{\"host\":\"slice\",\"count\":2}\n"
                            "{\"host\":\"flag\",\"want\":\"ready\",\"value\":false}\n",
                            byHand, more);
   EXPECT_EQ(some.status, 0) << some.out;
   EXPECT_EQ(end(some)["slices"], 2);
   auto const coarse =
      replay("{\"host\":\"slice\",\"count\":100,\"items\":1000}\n", byHand, more);
   auto const fine = replay("{\"host\":\"slice\",\"count\":100}\n", byHand, more);
   EXPECT_EQ(coarse.status, 0) << coarse.out;
   EXPECT_EQ(end(coarse)["ready"], true);
   EXPECT_EQ(end(fine)["ready"], true);
   EXPECT_LT(end(coarse)["slices"], end(fine)["slices"]);
   for (auto const* items : {"0", "\"1\"", "-1", "4294967296"}) {
      auto const refused = replay(
         "{\"host\":\"slice\",\"count\":1,\"items\":" + std::string(items) + "}\n",
         byHand, more);
      EXPECT_EQ(refused.status, 2);
      EXPECT_THAT(refused.err, HasSubstr("/items: " + std::string(items) +
                                         " stands here; allowed is a whole number of "
                                         "items, from 1"));
   }

   auto const all = replay("{\"host\":\"flag\",\"want\":\"initialScanDone\","
                           "\"value\":false}\n"
                           "{\"host\":\"drain\"}\n"
                           "{\"host\":\"flag\",\"want\":\"initialScanDone\","
                           "\"value\":true}\n"
                           "{\"host\":\"flag\",\"want\":\"idle\",\"value\":true}\n"
                           "{\"host\":\"flag\",\"want\":\"ready\",\"value\":true}\n",
                           byHand, more);
   EXPECT_EQ(all.status, 0) << all.out;
   EXPECT_EQ(end(all)["tests"], 4);
   EXPECT_EQ(end(all)["ready"], true);
   EXPECT_EQ(operations(all).size(), 15U);
   EXPECT_THAT(all.err, Not(HasSubstr(" 0 comparisons")));
}

TEST_F(Dataflow, AFlagThatIsNotWhatItShouldBeIsAFailedTest) {
   auto const outcome =
      replay("{\"host\":\"flag\",\"want\":\"idle\",\"value\":false}\n");
   EXPECT_EQ(outcome.status, 1);
   EXPECT_THAT(outcome.out,
               HasSubstr("{\"line\":1}\n{\"test\":\"failed\",\"line\":1,"
                         "\"path\":\"idle\",\"want\":false,\"have\":true}\n"));
   EXPECT_EQ(end(outcome)["tests"], 1);
   EXPECT_EQ(end(outcome)["failed"], 1);
}

TEST_F(Dataflow, WithoutAMachineAtTheEndNothingIsReady) {
   auto const outcome = replay("{\"host\":\"drain\"}\n{\"host\":\"stop\"}\n");
   EXPECT_EQ(end(outcome)["idle"], false);
   EXPECT_EQ(end(outcome)["ready"], false);
}

TEST_F(Dataflow, TheStartMendsTheOutputsOfTheStateAndTouchesNothingThatIsRight) {
   auto document = json::parse(kRed);
   document["mcastEvpnConfig"]["transitVrf"] = {"red", "blue"};
   document["pegVlanStatus"]["pegVlan"] = {10, 20};
   document["vtiStatusDir"]["vtiStatus"]["Vxlan1"]["vrfToSBDVlan"]["blue"] = 20;
   auto const null0 = json::parse(R"({"Null0":{}})");
   auto const join = [&](json const& include, json const& exclude) {
      return json{
         {"group",
          {{"0.0.0.0",
            {{"source",
              {{"0.0.0.0", {{"includeIntf", include}, {"excludeIntf", exclude}}}}}}}}}};
   };
   auto const nothing = json::object();
   document["membershipJoinStatus"]["vlan"] = {{"10", join(null0, null0)},
                                               {"30", join(null0, nothing)}};
   document["membershipJoinStatus"]["vlan"]["10"]["routerIntf"] = null0;
   document["transitIntfColl"]["intf"] = {{"Vlan10", {{"ipAddr", "10.0.0.1"}}},
                                          {"Vlan20", {{"ipAddr", "10.9.9.9"}}},
                                          {"Ethernet1", {{"ipAddr", "10.9.9.9"}}}};
   std::string const vlan = "/membershipJoinStatus/vlan/";
   std::string const source = "/group/0.0.0.0/source/0.0.0.0";
   for (auto const& options : kModes) {
      auto const outcome = replay("", options, document.dump());
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_THAT(
         operations(outcome),
         testing::UnorderedElementsAre(
            "add " + vlan + "20", "add " + vlan + "20/group/0.0.0.0",
            "add " + vlan + "20" + source,
            "add " + vlan + "20" + source + "/includeIntf/Null0",
            "remove " + vlan + "10" + source + "/excludeIntf/Null0",
            "replace /transitIntfColl/intf/Vlan20/ipAddr",
            "remove /transitIntfColl/intf/Ethernet1",
            "remove /membershipJoinStatus/vlan/10/routerIntf/Null0",
            "remove /membershipJoinStatus/vlan/30/group/0.0.0.0/source/0.0.0.0/"
            "includeIntf/Null0",
            "remove /membershipJoinStatus/vlan/30/group/0.0.0.0/source/0.0.0.0",
            "remove /membershipJoinStatus/vlan/30/group/0.0.0.0",
            "remove /membershipJoinStatus/vlan/30"))
         << options[1] << '\n'
         << outcome.out;
   }
}

TEST_F(Dataflow, ARestartOverItsOwnOutputsMakesNoChange) {
   auto const outputs = run(kRed, {"--json"});
   auto document = json::parse(kRed);
   document.update(json::parse(outputs.out));
   for (auto const& options : kModes) {
      auto const outcome = replay("{\"host\":\"restart\"}\n", options, document.dump());
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_THAT(operations(outcome), IsEmpty()) << outcome.out;
   }
}

TEST_F(Dataflow, AnEmptyLevelStaysAndIsNamedWithItsCase) {
   auto document = json::parse(kRed);
   document["membershipJoinStatus"]["vlan"]["30"] = json::object();
   auto const outcome = replay("", {}, document.dump());
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   EXPECT_THAT(outcome.err, HasSubstr("/membershipJoinStatus/vlan/30: no group stands "
                                      "here; the plain rule says nothing; "
                                      "path-dependent, empty level: "));
}

TEST_F(Dataflow, AStatusThatGoesLeavesTheInterfacesAndIsNamedWithItsCase) {
   auto const outcome =
      replay("{\"op\":\"remove\",\"path\":\"/vtiStatusDir/vtiStatus/Vxlan1\"}\n"
             "{\"op\":\"test\",\"path\":\"/transitIntfColl/intf/Vlan10/ipAddr\","
             "\"value\":\"10.0.0.1\"}\n"
             "{\"op\":\"test\",\"path\":\"/membershipJoinStatus/vlan\",\"value\":{}}\n"
             "{\"host\":\"restart\"}\n"
             "{\"op\":\"test\",\"path\":\"/transitIntfColl/intf\",\"value\":{}}\n");
   EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
   EXPECT_THAT(outcome.err, HasSubstr("events.jsonl:1: /transitIntfColl/intf/Vlan10: "
                                      "10.0.0.1 stands here; the plain rule says "
                                      "nothing; path-dependent, status gone: "));
   EXPECT_THAT(outcome.err, HasSubstr("0 errors, 1 path-dependent difference\n"));
}

TEST_F(Dataflow, IsStrictAboutVlansAndTheTableTellsWhy) {
   auto const outcome = run(R"({
      "mcastEvpnConfig": { "transitVrf": ["red", "blue", "green", "grey"] },
      "pegVlanStatus": { "pegVlan": [10, 20, 40] },
      "vtiStatusDir": { "vtiStatus": { "Vxlan1": { "localVtepAddr": "10.0.0.1",
         "vrfToSBDVlan": { "red": 10, "blue": 20, "green": 30, "grey": 20,
                           "white": 40 } } } } })",
                            {"--verify"});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   EXPECT_THAT(outcome.out, HasSubstr(" (ipv4, TransitIntfSm)\n"));
   EXPECT_THAT(outcome.out, HasSubstr(
                               R"(
  SBD VLAN  Transit interface  Source VTEP  Join          VRFs (* transit)  Why not
        10  Vlan10             10.0.0.1     (*, *) Null0  red*
        20  -                  -            -             blue*, grey*      shared by 2 VRFs
        30  -                  -            -             green*            no PEG VLAN
        40  -                  -            -             white             no transit VRF

  1 of 4 SBD VLANs have a transit interface, 1 a join.
)")) << outcome.out;
}

TEST_F(Dataflow, OfIpv6JoinsInItsFamilyWithAnIpv4Address) {
   auto const outcome = run(kRed, {"--af", "ipv6", "--json", "--verify"});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   auto const result = json::parse(outcome.out);
   EXPECT_EQ(result["transitIntfColl"]["intf"]["Vlan10"]["ipAddr"], "10.0.0.1");
   EXPECT_TRUE(result["membershipJoinStatus"]["vlan"]["10"]["group"]["::"]["source"]
                     ["::"]["includeIntf"]
                        .contains("Null0"));
}

TEST_F(Dataflow, TracesUnderItsNameAndItsStreams) {
   auto const outcome =
      replay("{\"op\":\"remove\",\"path\":\"/mcastEvpnConfig/transitVrf/red\"}\n",
             {"--trace", "7"});
   EXPECT_THAT(
      outcome.out,
      HasSubstr(
         "{\"line\":1}\n"
         R"({"trace":{"name":"TransitIntfSm","file":"McastVpnLib/TransitIntfSm","function":"eventToTransitCfgStream","level":7,"text":"transitCfgStream = from( mcastEvpnConfig.transitVrf[] ): vrfName=red"}})"
         "\n"
         R"({"trace":{"name":"TransitIntfSm","file":"McastVpnLib/TransitIntfSm","function":"eventToVrfStream","level":7,"text":"vrfStream = merge( transitCfgStream, vtepAddrChangeStream, mlagStream ): vrfName=red"}})"
         "\n"));
}

TEST_F(Dataflow, AVlanThatIsNoneIsRefusedUnlessUncheckedAndThenFailsAsTheLibraryDoes) {
   auto document = json::parse(kRed);
   document["vtiStatusDir"]["vtiStatus"]["Vxlan1"]["vrfToSBDVlan"]["blue"] = 0;
   EXPECT_EQ(run(document.dump(), {"--json"}).status, 2);
   auto const sync = run(document.dump(), {"--json", "--unchecked", "--mode", "sync"});
   EXPECT_EQ(sync.status, 2);
   EXPECT_EQ(sync.out, "");
   EXPECT_THAT(sync.err,
               HasSubstr("the machine cannot be constructed: "
                         "Bridging::VlanId::value < 1 or > 4094 not allowed"));
   auto const slice =
      run(document.dump(), {"--json", "--unchecked", "--slice-items", "1"});
   EXPECT_EQ(slice.status, 134);
   EXPECT_EQ(slice.out, "");
   EXPECT_THAT(slice.err,
               HasSubstr("Bridging::VlanId::value < 1 or > 4094 not allowed"));
}

namespace {

struct BadFlag {
   char const* what;
   char const* line;
   char const* message;
};

class RefusedFlag : public Dataflow, public testing::WithParamInterface<BadFlag> {};

} // namespace

TEST_P(RefusedFlag, EndsWithTwoAndSaysWhy) {
   auto const outcome = replay(GetParam().line);
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err,
               HasSubstr(std::string("events.jsonl:1: ") + GetParam().message));
   EXPECT_THAT(outcome.out, Not(HasSubstr("{\"line\":1}")));
}

INSTANTIATE_TEST_SUITE_P(
   OfEveryKind, RefusedFlag,
   testing::Values(BadFlag{"NoName", R"({"host":"flag","value":true})",
                           "/want: nothing stands here; allowed is one of ready, idle, "
                           "initialScanDone\n"},
                   BadFlag{
                      "UnknownName", R"({"host":"flag","want":"done","value":true})",
                      "/want: \"done\" stands here; allowed is one of ready, idle, "
                      "initialScanDone\n"},
                   BadFlag{"NoValue", R"({"host":"flag","want":"ready"})",
                           "/value: nothing stands here; allowed is true or false\n"},
                   BadFlag{"NoBoolean", R"({"host":"flag","want":"ready","value":1})",
                           "/value: 1 stands here; allowed is true or false\n"}),
   [](auto const& param) { return std::string(param.param.what); });

TEST_F(Dataflow, AFlagWithoutAMachineIsRefused) {
   auto const outcome =
      replay("{\"host\":\"stop\"}\n"
             "{\"host\":\"flag\",\"want\":\"ready\",\"value\":false}\n");
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, HasSubstr(":2: /host: a flag while no machine runs stands "
                                      "here; allowed is a flag after a start\n"));
}
