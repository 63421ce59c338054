#include "agent/verify/ExpectedDifferences.h"
#include "support/AgentProcess.h"
#include "support/RandomDocument.h"
#include "support/RandomEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Compare : public testing::Test {
 protected:
   Outcome compare(std::string const& state, std::vector<std::string> options = {}) {
      options.insert(options.begin(), "compare");
      options.push_back(folder_.write("state.json", state));
      return runAgent(folder_, options);
   }

   Outcome replayBoth(std::string const& state, std::string const& events,
                      std::vector<std::string> options = {}) {
      options.insert(options.begin(), {"replay", "--sm", "both", "--state",
                                       folder_.write("state.json", state)});
      options.push_back(folder_.write("events.jsonl", events));
      return runAgent(folder_, options);
   }

   TemporaryFolder folder_;
};

// The records of one machine, without their tag.
std::string recordsOf(std::string const& out, std::string const& sm) {
   std::string records;
   std::istringstream in(out);
   for (std::string line; std::getline(in, line);) {
      auto record = nlohmann::ordered_json::parse(line);
      EXPECT_TRUE(record.contains("sm")) << line;
      if (record.at("sm") == sm) {
         record.erase("sm");
         records += record.dump() + '\n';
      }
   }
   return records;
}

constexpr char const* kRedOnVlan10 =
   R"({"mcastEvpnConfig": {"transitVrf": ["red"]},
       "vtiStatusDir": {"vtiStatus": {"Vxlan1": {"localVtepAddr": "10.0.0.1",
                                                 "vrfToSBDVlan": {"red": 10}}}},
       "pegVlanStatus": {"pegVlan": [10]}})";

} // namespace

TEST_F(Compare, ShowsOnlyWhatDiffersAndWhy) {
   auto const outcome = runAgent(folder_, {"compare", "--mode", "sync", "--seed", "1",
                                           "examples/leaf-pair.jsonc"});
   EXPECT_EQ(outcome.status, 0);
   EXPECT_EQ(outcome.err, "");
   EXPECT_THAT(
      outcome.out,
      StartsWith(
         "TransitSm and TransitIntfSm over examples/leaf-pair.jsonc (ipv4)\n"
         "\n"
         "  SBD VLAN  VRFs (* transit)              TransitSm           TransitIntfSm  "
         "Why they differ\n"
         "      3105  acme-iot*                     10.255.1.100, join  -              "
         "no PEG VLAN\n"
         "      3302  initech-cctv*, initech-print  10.255.1.100, join  -              "
         "shared by VRFs; no PEG VLAN\n"
         "\n"
         "  2 of 13 VLANs differ, for a known reason.\n"
         "  On the way:\n"));
}

TEST_F(Compare, SaysWhenTheOutputsAreTheSame) {
   auto const same = compare(kRedOnVlan10);
   EXPECT_EQ(same.status, 0);
   EXPECT_EQ(same.out, "TransitSm and TransitIntfSm over " +
                          folder_.file("state.json") +
                          " (ipv4)\n\n"
                          "  The outputs are the same: 1 VLAN.\n"
                          "  On the way:\n"
                          "     1 x  interface or join first\n");
   EXPECT_THAT(compare("{}").out, EndsWith("  No VRF is mapped to an SBD VLAN.\n"));
}

TEST_F(Compare, ForProgramsNamesEachReason) {
   auto const outcome =
      runAgent(folder_, {"compare", "--json", "examples/restart.jsonc"});
   EXPECT_EQ(outcome.status, 0);
   auto const document = json::parse(outcome.out);
   EXPECT_EQ(document["schemaVersion"], 1);
   EXPECT_EQ(document["differences"],
             json::parse(R"([{"path": "/transitIntfColl/intf/Vlan30", "vlan": 30,
                              "reactor": "10.0.0.9", "dataflow": null,
                              "explained": true,
                              "reasons": [{"reason": "StaleEntry", "message":
                                "what another writer or an earlier run left on a VLAN that is no transit VLAN, or on none, stays with TransitSm; TransitIntfSm removes it at its start"}]}])"));
   // Of VLAN 20; the order of two tasks, and so this, is not the same in each run.
   for (auto const& each : document["onTheWay"]) {
      EXPECT_EQ(each["reason"], "OrderInVlan");
      EXPECT_EQ(each["times"], 1);
   }
   EXPECT_FALSE(document.contains("reactor"));
}

TEST_F(Compare, OfARunWithBothMachinesShowsAllThatTheyWrote) {
   std::string const state = "examples/leaf-pair.jsonc";
   auto const both =
      json::parse(runAgent(folder_, {"run", "--json", "--sm", "both", state}).out);
   for (std::string const sm : {"reactor", "dataflow"}) {
      EXPECT_EQ(
         both[sm],
         json::parse(runAgent(folder_, {"run", "--json", "--sm", sm, state}).out));
   }
   EXPECT_EQ(both["differences"].size(), 4U);

   auto const table = runAgent(folder_, {"run", "--sm", "both", state});
   EXPECT_EQ(table.status, 0);
   EXPECT_THAT(table.out, ContainsRegex("\n +3101  acme-prod\\* +10.255.1.100, join  "
                                        "10.255.1.100, join\n"));
   EXPECT_THAT(table.out, HasSubstr("  2 of 13 VLANs differ, for a known reason.\n"));
}

TEST_F(Compare, ShowsWhatBelongsToNoVlan) {
   auto const outcome =
      compare(R"({"transitIntfColl": {"intf": {"Ethernet 1": {"ipAddr": "10.9.9.9"}}},
                  "membershipJoinStatus": {"vlan": {"77": {"routerIntf": ["Et3"]}}}})");
   EXPECT_THAT(outcome.out, ContainsRegex("\n  Ethernet 1  - +10.9.9.9 +- +"));
   EXPECT_THAT(outcome.out, ContainsRegex("\n +77  - +only router Et3 +- +"));
   EXPECT_THAT(
      outcome.out,
      HasSubstr("  2 of 2 VLANs and interfaces differ, for a known reason.\n"));
}

TEST_F(Compare, IsNotForPlan) {
   auto const outcome = runAgent(folder_, {"plan", "--sm", "both", "x"});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err,
               HasSubstr("\"both\" stands here; allowed is one of reactor, "
                         "dataflow\n"));
}

TEST_F(Compare, ReplaysEachMachineAsIfItWereAlone) {
   for (uint32_t seed = 1; seed <= 20; ++seed) {
      SCOPED_TRACE(seed);
      auto const document = RandomDocument(seed).make();
      RandomEvents random(seed, document);
      std::string events;
      for (int left = 25; left != 0; --left) {
         events += random.next().dump() + '\n';
      }
      events += R"({"host":"flag","want":"ready","value":true})"
                "\n";
      std::vector<std::string> const options{"--seed", "7",       "--slice-items",
                                             "3",      "--trace", "9"};
      auto const both = replayBoth(document.dump(), events, options);
      EXPECT_EQ(both.status, 0) << both.err;
      auto single = options;
      single.insert(single.begin(), {"replay", "--sm", "dataflow", "--state",
                                     folder_.file("state.json")});
      single.push_back(folder_.file("events.jsonl"));
      EXPECT_EQ(recordsOf(both.out, "dataflow"), runAgent(folder_, single).out);
      single[2] = "reactor";
      events.resize(events.rfind('{')); // it has no flags
      single.back() = folder_.write("events.jsonl", events);
      auto reactor = runAgent(folder_, single).out;
      // The line of the flag, which is there for the other machine.
      auto const end = reactor.rfind(R"({"end":)");
      reactor.insert(end, R"({"line":26})"
                          "\n");
      EXPECT_EQ(recordsOf(both.out, "reactor"), reactor);
   }
}

TEST_F(Compare, RefusesALineForBothWhenOneOfThemCannotPlayIt) {
   // VLAN 20 has an interface of the reactor alone.
   std::string const state =
      R"({"mcastEvpnConfig": {"transitVrf": ["red"]},
          "vtiStatusDir": {"vtiStatus": {"Vxlan1": {"vrfToSBDVlan": {"red": 20}}}}})";
   auto const outcome =
      replayBoth(state, R"({"op":"remove","path":"/transitIntfColl/intf/Vlan20"})"
                        "\n");
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err,
               HasSubstr("events.jsonl:1: TransitIntfSm: "
                         "/transitIntfColl/intf/Vlan20: nothing stands here"));
   EXPECT_THAT(outcome.out, Not(HasSubstr(R"("op":"remove")")));
}

TEST_F(Compare, CountsATestForEachMachine) {
   std::string const state =
      R"({"mcastEvpnConfig": {"transitVrf": ["red"]},
          "vtiStatusDir": {"vtiStatus": {"Vxlan1": {"localVtepAddr": "10.0.0.1",
                                                    "vrfToSBDVlan": {"red": 20}}}}})";
   auto const outcome =
      replayBoth(state, R"({"op":"test","path":"/transitIntfColl/intf","value":{}})"
                        "\n");
   EXPECT_EQ(outcome.status, 1);
   EXPECT_THAT(
      outcome.out,
      AllOf(HasSubstr(R"({"test":"failed","line":1,)"),
            HasSubstr(R"({"end":{"slices":0,"tests":1,"failed":1},"sm":"reactor"})"),
            HasSubstr(R"("tests":1,"failed":0},"sm":"dataflow"})")));
}

TEST_F(Compare, WaitsUntilBothMachinesAreIdle) {
   auto const outcome =
      replayBoth(kRedOnVlan10,
                 R"({"op":"replace","path":"/mlagStatus/mlagState","value":1})"
                 "\n"
                 R"({"host":"drain"})"
                 "\n",
                 {"--manual", "--slice-items", "1", "--verify"});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   EXPECT_THAT(outcome.err, HasSubstr("  The outputs are the same: 1 VLAN.\n"));
   EXPECT_THAT(outcome.err, HasSubstr("--verify: TransitSm: 3 comparisons, 0 errors"));
   EXPECT_THAT(outcome.err,
               HasSubstr("--verify: TransitIntfSm: 1 comparison, 0 errors"));
}

TEST_F(Compare, DoesNotSayThatOutputsAreTheSameWhichItDidNotCompare) {
   auto const events =
      std::string(R"({"op":"add","path":"/pegVlanStatus/pegVlan/11","value":{}})") +
      "\n";
   for (auto const& outcome :
        {replayBoth(kRedOnVlan10, events, {"--manual", "--slice-items", "1"}),
         replayBoth(kRedOnVlan10, events + R"({"host":"stop"})"
                                           "\n")}) {
      EXPECT_EQ(outcome.status, 0);
      EXPECT_THAT(
         outcome.err,
         HasSubstr("  Not compared: a machine is stopped, or has work left.\n"));
      EXPECT_THAT(outcome.err, Not(HasSubstr("the same")));
   }
}

TEST_F(Compare, KnowsNothingOfTheTimeBeforeAStop) {
   // Stopped while it was busy, with other inputs when it starts again.
   auto const outcome = replayBoth(
      R"({"mcastEvpnConfig": {"transitVrf": ["b", "d", "e", "f"]},
          "vtiStatusDir": {"vtiStatus": {"Vxlan1": {"vrfToSBDVlan": {"e": 12, "c": 11}}}},
          "mlagStatus": {"mlagState": 3}, "pegVlanStatus": {"pegVlan": [10, 11, 12]}})",
      R"({"op":"add","path":"/pegVlanStatus/pegVlan/13","value":{}}
{"host":"stop"}
[{"op":"add","path":"/mcastEvpnConfig/transitVrf","value":{"c":{},"f":{}}},{"op":"add","path":"/mlagStatus/mlagState","value":4}]
{"op":"add","path":"/vtiStatusDir/vtiStatus","value":{"Vxlan1":{"vrfToSBDVlan":{}}}}
{"host":"start"}
{"host":"drain"}
)",
      {"--manual", "--slice-items", "1"});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST_F(Compare, TagsTheTraceOfAMachineThatGoesWithItsOwnName) {
   auto const outcome = replayBoth(kRedOnVlan10,
                                   R"({"host":"slice"})"
                                   "\n",
                                   {"--trace", "all"});
   EXPECT_EQ(outcome.status, 2); // a slice line without a count
   auto const ofReactor = recordsOf(outcome.out, "reactor");
   EXPECT_THAT(ofReactor, HasSubstr("\"trace\""));
   EXPECT_THAT(ofReactor, Not(HasSubstr("TransitIntfSm")));
}

TEST_F(Compare, FindsNoDifferenceWithoutAReasonAtRandom) {
   std::string met;
   for (uint32_t seed = 1; seed <= 200; ++seed) {
      SCOPED_TRACE(seed);
      auto const document = RandomDocument(seed).make();
      RandomEvents random(seed, document);
      random.foreignWritesAre(seed % 2 == 0);
      bool const together = seed % 3 == 0;
      bool const byHand = seed % 4 == 0;
      std::string events;
      auto const add = [&](json const& event) { events += event.dump() + '\n'; };
      for (int left = 40; left != 0; --left) {
         auto const event = random.next();
         auto const second = together ? random.next() : json({{"host", "restart"}});
         if (event.contains("op") && second.contains("op")) {
            add(json::array({event, second}));
            continue;
         }
         add(event);
         if (together) {
            add(second);
         }
         if (byHand && left % 3 == 0) {
            add({{"host", "slice"}, {"count", left % 5}});
         }
         if (left % 13 == 0) {
            add({{"host", "stop"}});
            add(random.nextOperation());
            add({{"host", "start"}});
         }
      }
      std::vector<std::string> options{"--verify", "--seed", std::to_string(seed),
                                       "--slice-items", "3"};
      if (byHand) {
         options.emplace_back("--manual");
      }
      if (seed % 5 == 0) {
         options.insert(options.end(), {"--af", "ipv6"});
      }
      if (seed % 7 == 0) {
         options.insert(options.end(), {"--toggle", "McastVpnTransitMlag=off"});
      }
      auto const outcome = replayBoth(document.dump(), events, options);
      ASSERT_EQ(outcome.status, 0) << outcome.err << document.dump() << "\n" << events;
      // Between single changes there is no state that one of them alone saw.
      if (!together && !byHand) {
         EXPECT_THAT(
            outcome.err,
            Not(HasSubstr(std::string(Verify::Expected::kInterimStates.brief))));
      }
      met += outcome.err;
   }
   for (auto const* const each : Verify::Expected::kAll) {
      EXPECT_THAT(met, HasSubstr(std::string(each->brief)));
   }
}
