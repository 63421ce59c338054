#include "support/AgentProcess.h"
#include "support/RandomDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

// What replay printed of the outputs' changes.
json operationsOf(std::string const& records) {
   json operations = json::array();
   std::istringstream in(records);
   for (std::string line; std::getline(in, line);) {
      auto const record = json::parse(line);
      if (record.contains("op")) {
         operations.push_back(record);
      }
   }
   return operations;
}

// The same with every entry's action, from the table for people.
struct Counts {
   size_t keep = 0, rewrite = 0, add = 0, remove = 0;
};
Counts countsOf(std::string const& table) {
   Counts counts;
   std::istringstream in(table);
   for (std::string line; std::getline(in, line);) {
      counts.keep += line.starts_with("  keep ") ? 1 : 0;
      counts.rewrite += line.starts_with("  rewrite ") ? 1 : 0;
      counts.add += line.starts_with("  add ") ? 1 : 0;
      counts.remove += line.starts_with("  delete ") ? 1 : 0;
   }
   return counts;
}

class Plan : public testing::Test {
 protected:
   Outcome plan(std::string const& state, std::vector<std::string> options = {}) {
      options.insert(options.begin(), "plan");
      options.push_back(folder_.write("state.json", state));
      return runAgent(folder_, options);
   }

   TemporaryFolder folder_;
};

class PlanOf : public Plan, public testing::WithParamInterface<char const*> {};

} // namespace

TEST_F(Plan, TellsWhatBecomesOfEachEntryAndWhy) {
   auto const outcome = runAgent(folder_, {"plan", "examples/restart.jsonc"});
   EXPECT_EQ(outcome.status, 10);
   EXPECT_EQ(outcome.err, "");
   EXPECT_EQ(
      outcome.out,
      "A start of TransitIntfSm over the outputs in examples/restart.jsonc (ipv4)\n"
      "\n"
      "  Action   VLAN  Output             Entry                 Source VTEP           "
      "Why\n"
      "  keep       10  transit interface  Vlan10                10.0.0.1              "
      "right\n"
      "  keep       10  join               (*, *) include Null0                        "
      "right\n"
      "  rewrite    20  transit interface  Vlan20                10.0.0.9 -> 10.0.0.1  "
      "another VTEP address\n"
      "  add        20  join               (*, *) include Null0                        "
      "SBD VLAN of blue*\n"
      "  delete     30  transit interface  Vlan30                10.0.0.9              "
      "no VRF maps here\n"
      "\n"
      "  2 to keep, 1 to rewrite, 1 to add, 1 to delete; 6 notifications.\n");
}

TEST_F(Plan, OfTheReactorNamesWhatNoStartEverRemoves) {
   auto const outcome =
      runAgent(folder_, {"plan", "--sm", "reactor", "examples/restart.jsonc"});
   EXPECT_EQ(outcome.status, 10);
   EXPECT_THAT(outcome.out,
               HasSubstr("  keep       30  transit interface  Vlan30                "
                         "10.0.0.9              "
                         "no VRF maps here, but no start of TransitSm removes it\n"));
   EXPECT_EQ(countsOf(outcome.out).remove, 0U);
}

TEST_F(Plan, ThatChangesNothingEndsWithStatusZero) {
   auto const empty = plan("{}");
   EXPECT_EQ(empty.status, 0);
   EXPECT_THAT(empty.out,
               HasSubstr("  Nothing stands there, and nothing would be written.\n"));
   EXPECT_EQ(plan("{}", {"--json"}).out, "[]\n");

   auto document = parsedDocument(readText(SOURCE_FOLDER "/examples/leaf-pair.jsonc"));
   document.update(parsedDocument(
      runAgent(folder_, {"run", "--json", "examples/leaf-pair.jsonc"}).out));
   auto const right = plan(document.dump());
   EXPECT_EQ(right.status, 0) << right.out;
   EXPECT_THAT(right.out, HasSubstr("  Nothing would change: 16 to keep.\n"));
   EXPECT_THAT(right.out, Not(HasSubstr("notification")));
}

TEST_F(Plan, GivesEachReason) {
   auto const state = [](std::string const& more) {
      return R"({"vtiStatusDir": {"vtiStatus": {"Vxlan1": {"localVtepAddr": "10.0.0.1",
                 "vrfToSBDVlan": {"red": 10, "blue": 20, "green": 30, "grey": 30,
                                  "pink": 40}}}},
                 "mcastEvpnConfig": {"transitVrf": ["red", "green", "pink"]},
                 "pegVlanStatus": {"pegVlan": [10, 20, 30]},
                 "transitIntfColl": {"intf": {"Vlan10": {}, "Vlan20": {}, "Vlan30": {},
                                              "Vlan40": {}, "Vlan50": {}, "Et1": {}}},
                 "membershipJoinStatus": {"vlan": {"10": {"group": {"239.1.1.1": {}}},
                   "60": {"routerIntf": ["Et3"]}, "70": {}}})" +
             more + "}";
   };
   auto const dataflow = plan(state("")).out;
   for (auto const* row :
        {"another VTEP address\n", "no transit VRF\n", "shared by 2 VRFs\n",
         "no PEG VLAN\n", "no VRF maps here\n", "SBD VLAN of red*\n",
         "not what a machine writes\n", "an empty level is left alone\n"}) {
      EXPECT_THAT(dataflow, HasSubstr(row));
   }
   EXPECT_THAT(dataflow, HasSubstr("nothing below (239.1.1.1, -)"));
   EXPECT_THAT(dataflow, HasSubstr("nothing below the VLAN"));
   EXPECT_THAT(dataflow, HasSubstr("router Et3"));
   EXPECT_THAT(plan(state(R"(, "mlagStatus": {"mlagState": 4})")).out,
               HasSubstr("withheld by the MLAG state\n"));

   auto const joins = [&](std::vector<std::string> const& options) {
      return plan(R"({"vtiStatusDir": {"vtiStatus": {"Vxlan1":
                      {"vrfToSBDVlan": {"red": 10}}}},
                      "mcastEvpnConfig": {"transitVrf": ["red"]},
                      "membershipJoinStatus": {"vlan": {"10": {"group": {"0.0.0.0":
                        {"source": {"0.0.0.0": {"includeIntf": ["Null0"]}}}}}}}})",
                  options)
         .out;
   };
   EXPECT_THAT(
      joins({"--sm", "reactor", "--toggle", "McastVpnTransitMlag=off"}),
      HasSubstr("the toggle McastVpnTransitMlag is off, but this start leaves it\n"));
   EXPECT_THAT(joins({"--sm", "reactor", "--af", "ipv6"}),
               HasSubstr("but no start of TransitSm removes it\n"));
   EXPECT_THAT(joins({"--af", "ipv6"}), HasSubstr("(0.0.0.0, 0.0.0.0) include Null0"));
}

TEST_F(Plan, OfTheReactorSaysWhatItRemovesFromAVlanThatItKnows) {
   auto const outcome = plan(
      R"({"vtiStatusDir": {"vtiStatus": {"Vxlan1": {"vrfToSBDVlan": {"red": 10}}}},
          "mcastEvpnConfig": {"transitVrf": ["red"]}, "mlagStatus": {"mlagState": 4},
          "transitIntfColl": {"intf": {"Vlan10": {}}}})",
      {"--sm", "reactor"});
   EXPECT_EQ(outcome.status, 10);
   EXPECT_THAT(outcome.out, testing::ContainsRegex(
                               "  delete +10  transit interface  Vlan10 .*withheld by "
                               "the MLAG state\n"));
}

TEST_P(PlanOf, IsWhatARunSends) {
   size_t changing = 0;
   for (uint32_t seed = 1; seed <= 25; ++seed) {
      SCOPED_TRACE(seed);
      json document = RandomDocument(seed).make();
      json const before = {{"transitIntfColl", document["transitIntfColl"]},
                           {"membershipJoinStatus", document["membershipJoinStatus"]}};
      // Where slices end by time, the order of what two tasks do is not repeatable.
      std::vector<std::string> const options{"--sm", GetParam(),      "--seed",
                                             "7",    "--slice-items", "3"};

      auto planOptions = options;
      planOptions.insert(planOptions.begin(), "--json");
      auto const planned = plan(document.dump(2), planOptions);
      auto const patch = json::parse(planned.out);
      EXPECT_EQ(planned.status, patch.empty() ? 0 : 10);
      changing += patch.empty() ? 0 : 1;

      auto const state = folder_.file("state.json");
      std::vector<std::string> replay{"replay", "--state", state};
      replay.insert(replay.end(), options.begin(), options.end());
      replay.push_back(folder_.write("events.jsonl", ""));
      EXPECT_EQ(patch, operationsOf(runAgent(folder_, replay).out));

      std::vector<std::string> run{"run", "--json", state};
      run.insert(run.end(), options.begin(), options.end());
      auto const outputs = json::parse(runAgent(folder_, run).out);
      EXPECT_EQ(before.patch(patch), outputs);

      auto const counts = countsOf(plan(document.dump(2), options).out);
      EXPECT_EQ(counts.rewrite + counts.add + counts.remove == 0, patch.empty());

      // A start over right outputs changes nothing in the end; the reactor may take one
      // away for a moment, of a VLAN that several VRFs share.
      document.update(outputs);
      auto const again = plan(document.dump(2), options);
      auto const counted = countsOf(again.out);
      EXPECT_EQ(counted.add + counted.remove, 0U) << again.out;
      if (std::string(GetParam()) == "dataflow") {
         EXPECT_EQ(again.status, 0) << again.out;
      }
   }
   EXPECT_GT(changing, 15U);
}

INSTANTIATE_TEST_SUITE_P(Machines, PlanOf, testing::Values("dataflow", "reactor"),
                         [](auto const& each) { return std::string(each.param); });
