#include "agent/Conditions.h"
#include "agent/verify/DataflowRule.h"
#include "agent/verify/ReactorRule.h"
#include "support/AgentProcess.h"
#include "support/RandomDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace Agent;
using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using Verify::Machine;

namespace {

// The verdict of the plain rule, which knows nothing of conditions.
Verdict ruled(json const& document, Machine machine, VlanFacts const& facts) {
   State state;
   state.assign(document);
   Verify::Inputs const inputs{state.mcastEvpnConfig, state.vtiStatusDir,
                               state.mlagStatus, state.pegVlanStatus};
   auto const outputs =
      machine == Machine::dataflow
         ? Verify::dataflowOutputs(inputs, facts.af)
         : Verify::reactorOutputs(inputs, facts.af, facts.joinsEnabled);
   return {outputs.contains(Verify::joinKey(facts.vlanId)),
           outputs.contains(Verify::intfKey("Vlan" + std::to_string(facts.vlanId)))};
}

// The document after the changes, if they can be made.
std::optional<json> changed(json document, std::vector<json> const& operations) {
   State const state;
   try {
      document = document.patch(json(operations));
   } catch (json::exception const&) {
      return std::nullopt;
   }
   return state.canonical(document, Checks::plausible);
}

std::vector<json> operationsOf(Changes const& changes) {
   std::vector<json> operations;
   for (auto const& change : changes) {
      operations.emplace_back(change.operation);
   }
   return operations;
}

// Every single change of the inputs that could bear on the VLAN.
std::vector<json> singleChanges(json const& document, uint16_t vlan) {
   std::vector<json> changes;
   auto const add = [&](std::string const& path, json const& value) {
      changes.push_back({{"op", "add"}, {"path", path}, {"value", value}});
   };
   std::string const status = "/vtiStatusDir/vtiStatus/Vxlan1";
   bool const hasStatus = document.contains(json::json_pointer(status));
   if (hasStatus) {
      changes.push_back({{"op", "remove"}, {"path", status}});
   } else {
      add(status, {{"vrfToSBDVlan", json::object()}});
   }
   for (std::string const vrf : {"a", "b", "c", "d", "e", "f", "new"}) {
      auto const transit = "/mcastEvpnConfig/transitVrf/" + vrf;
      add(transit, json::object());
      changes.push_back({{"op", "remove"}, {"path", transit}});
      auto const mapping = status + "/vrfToSBDVlan/" + vrf;
      add(mapping, vlan);
      changes.push_back({{"op", "remove"}, {"path", mapping}});
   }
   auto const peg = "/pegVlanStatus/pegVlan/" + std::to_string(vlan);
   add(peg, json::object());
   changes.push_back({{"op", "remove"}, {"path", peg}});
   add("/mlagStatus/mlagState", 0U);
   add("/mlagStatus/mlagState", 4U);
   return changes;
}

// Whether some set of fewer changes than this makes the verdict what is asked for.
bool fewerSuffice(json const& document, std::vector<json> const& all, size_t size,
                  std::function<bool(json const&)> const& suffices) {
   std::vector<json> chosen;
   std::function<bool(size_t)> const tried = [&](size_t from) -> bool {
      if (auto const after = changed(document, chosen); after && suffices(*after)) {
         return true;
      }
      if (chosen.size() + 1 == size) {
         return false;
      }
      for (size_t i = from; i < all.size(); ++i) {
         chosen.push_back(all[i]);
         bool const found = tried(i + 1);
         chosen.pop_back();
         if (found) {
            return true;
         }
      }
      return false;
   };
   return size > 0 && tried(0);
}

json documentOf(uint32_t seed) {
   auto document = State().canonical(RandomDocument(seed).make(), Checks::plausible);
   if (seed % 8 == 0) {
      document["vtiStatusDir"]["vtiStatus"].erase("Vxlan1");
   }
   return document;
}

class ExplainOf : public testing::TestWithParam<Machine> {
 protected:
   // Calls the function with each VLAN of many documents.
   void forEachVlan(
      uint32_t seeds,
      std::function<void(json const&, State const&, VlanFacts const&)> const& look) {
      Options const options;
      for (uint32_t seed = 1; seed <= seeds; ++seed) {
         SCOPED_TRACE(seed);
         auto const document = documentOf(seed);
         State state;
         state.assign(document);
         SbdVlans const vlans(state);
         for (uint16_t vlan = 10; vlan < 16; ++vlan) {
            SCOPED_TRACE(vlan);
            auto facts = factsOf(vlan, vlans, state, options);
            facts.joinsEnabled = seed % 3 != 0;
            facts.af =
               seed % 5 == 0 ? Lidra::AddressFamily::ipv6 : Lidra::AddressFamily::ipv4;
            look(document, state, facts);
         }
      }
   }
};

Outcome explain(TemporaryFolder const& folder, std::vector<std::string> options) {
   options.insert(options.begin(), "explain");
   return runAgent(folder, options);
}

using Reasons = std::set<std::pair<std::string, std::string>>;

// The types and reasons that the document of the agent lists.
Reasons documentedReasons() {
   Reasons documented;
   std::istringstream in(readText(SOURCE_FOLDER "/docs/Agent.md"));
   for (std::string line; std::getline(in, line);) {
      if (!line.starts_with("| `") || std::ranges::count(line, '|') != 4) {
         continue;
      }
      std::istringstream quoted(line);
      std::string type;
      std::string reason;
      std::getline(std::getline(quoted, type, '`'), type, '`');
      if (type.empty() || std::isupper(static_cast<unsigned char>(type[0])) == 0) {
         continue;
      }
      quoted.str(line.substr(line.rfind('|', line.size() - 2)));
      quoted.clear();
      while (std::getline(quoted, reason, '`') && std::getline(quoted, reason, '`')) {
         documented.emplace(type, reason);
      }
   }
   return documented;
}

} // namespace

TEST_P(ExplainOf, ConditionsSayWhatThePlainRuleSays) {
   size_t enabled = 0;
   forEachVlan(300, [&](json const& document, State const&, VlanFacts const& facts) {
      auto const verdict = verdictOf(conditionsOf(facts, GetParam()));
      auto const rule = ruled(document, GetParam(), facts);
      EXPECT_EQ(verdict.join, rule.join);
      EXPECT_EQ(verdict.intf, rule.intf);
      enabled += verdict.intf ? 1 : 0;
   });
   EXPECT_GT(enabled, 100U);
}

TEST_P(ExplainOf, EachProposedSetTurnsTheVerdictAndNothingSmallerDoes) {
   std::set<size_t> sizes;
   forEachVlan(
      16, [&](json const& document, State const& state, VlanFacts const& facts) {
         auto const isEnabled = [&](json const& after) {
            return ruled(after, GetParam(), facts).intf;
         };
         auto const sets =
            smallestToEnable(facts, GetParam(), KnownVrfs(state), 1000).sets;
         bool const isHopeless =
            GetParam() == Machine::reactor && facts.af != Lidra::AddressFamily::ipv4;
         ASSERT_EQ(sets.empty(), isHopeless);
         if (isHopeless) {
            EXPECT_FALSE(isEnabled(document));
            return;
         }
         size_t const size = sets.front().size();
         EXPECT_EQ(size == 0, isEnabled(document));
         for (auto const& set : sets) {
            EXPECT_EQ(set.size(), size);
            auto const after = changed(document, operationsOf(set));
            ASSERT_TRUE(after);
            EXPECT_TRUE(isEnabled(*after)) << json(operationsOf(set));
         }
         sizes.insert(size);
         if (size <= 3) {
            EXPECT_FALSE(fewerSuffice(document, singleChanges(document, facts.vlanId),
                                      size, isEnabled));
         }
      });
   EXPECT_THAT(sizes, testing::IsSupersetOf({0U, 1U, 2U}));
   EXPECT_TRUE(GetParam() == Machine::reactor || sizes.contains(3));
}

TEST_P(ExplainOf, ProposesEveryVrfThatSuffices) {
   forEachVlan(60,
               [&](json const& document, State const& state, VlanFacts const& facts) {
                  auto const sets =
                     smallestToEnable(facts, GetParam(), KnownVrfs(state), 1000).sets;
                  if (sets.empty() || sets.front().size() != 1) {
                     return;
                  }
                  std::set<std::string> proposed;
                  for (auto const& set : sets) {
                     proposed.insert(operationsOf(set).front()["path"]);
                  }
                  std::set<std::string> found;
                  for (auto const& change : singleChanges(document, facts.vlanId)) {
                     auto const after = changed(document, {change});
                     if (after && ruled(*after, GetParam(), facts).intf) {
                        found.insert(change["path"]);
                     }
                  }
                  EXPECT_EQ(proposed, found);
               });
}

TEST_P(ExplainOf, ListsEverySingleChangeThatDisables) {
   size_t withIntf = 0;
   size_t withJoin = 0;
   forEachVlan(
      80, [&](json const& document, State const& state, VlanFacts const& facts) {
         auto const disabling = toDisable(facts, GetParam(), KnownVrfs(state));
         auto const before = ruled(document, GetParam(), facts);
         if (!before.intf && !before.join) {
            EXPECT_TRUE(disabling.empty());
            return;
         }
         ++(before.intf ? withIntf : withJoin);
         auto const isGone = [&](json const& after) {
            auto const verdict = ruled(after, GetParam(), facts);
            return before.intf ? !verdict.intf : !verdict.join;
         };
         std::set<std::string> proposed;
         for (auto const& operation : operationsOf(disabling)) {
            auto const after = changed(document, {operation});
            ASSERT_TRUE(after);
            EXPECT_TRUE(isGone(*after)) << operation;
            proposed.insert(operation["path"].get<std::string>());
         }
         for (auto const& change : singleChanges(document, facts.vlanId)) {
            auto const after = changed(document, {change});
            auto const path = change["path"].get<std::string>();
            bool const isOtherVrf = change["op"] == "add" &&
                                    path.find("vrfToSBDVlan") != std::string::npos &&
                                    !path.ends_with("/new");
            if (after && !isOtherVrf && isGone(*after)) {
               EXPECT_TRUE(proposed.contains(path)) << change;
            }
         }
      });
   EXPECT_GT(withIntf, 30U);
   EXPECT_GT(withJoin, 5U);
}

INSTANTIATE_TEST_SUITE_P(Machines, ExplainOf,
                         testing::Values(Machine::dataflow, Machine::reactor),
                         [](auto const& each) {
                            return each.param == Machine::dataflow ? "Dataflow"
                                                                   : "Reactor";
                         });

TEST(Explain, PutsTheBlockingConditionFirstAndSaysWhatWouldTurnIt) {
   TemporaryFolder folder;
   auto const outcome = explain(folder, {"--vlan", "3105", "examples/leaf-pair.jsonc"});
   EXPECT_EQ(outcome.status, 0);
   EXPECT_EQ(outcome.err, "");
   EXPECT_THAT(outcome.out,
               testing::StartsWith("VLAN 3105  of acme-iot*\n"
                                   "  no   PegVlan        VLAN 3105 is no PEG VLAN "
                                   "(TransitIntfSm only)\n"
                                   "  yes  "));
   EXPECT_THAT(outcome.out,
               HasSubstr("  TransitIntfSm  no transit interface, no join\n"
                         "                 enabled if VLAN 3105 were a PEG VLAN\n"
                         "  TransitSm      transit interface from 10.255.1.100, and "
                         "join\n"
                         "                 disabled if VRF acme-iot did not map to it\n"
                         "                          or VRF acme-iot were no transit "
                         "VRF\n"
                         "                          or the MLAG state were 4 "
                         "(withheld)\n"
                         "                          or \"Vxlan1\" had no status\n"));
   EXPECT_THAT(outcome.out,
               HasSubstr("  In the state   nothing; only TransitIntfSm agrees\n"));
}

TEST(Explain, TakesVlansAndVrfs) {
   TemporaryFolder folder;
   auto const shared =
      explain(folder, {"--vrf", "initech-print", "--vlan", "7", "--vrf",
                       "initech-lab-2", "--vrf", "nobody", "examples/leaf-pair.jsonc"})
         .out;
   EXPECT_THAT(shared, HasSubstr("VLAN 3302  of initech-cctv*, initech-print\n"));
   EXPECT_THAT(shared, HasSubstr("enabled if VLAN 3302 were a PEG VLAN and VRF "
                                 "initech-print did not map to it\n"));
   EXPECT_THAT(shared, HasSubstr("enabled if VRF initech-lab-2 mapped to it\n"));
   EXPECT_THAT(shared,
               HasSubstr("or VRF acme-iot mapped to it and not to VLAN 3105\n"));
   EXPECT_THAT(shared, HasSubstr("or in 7 more ways\n"));
   EXPECT_THAT(shared, HasSubstr("VLAN 7  of no VRF\n"));
   EXPECT_THAT(shared, HasSubstr("VRF initech-lab-2 maps to no SBD VLAN.\n"
                                 "VRF nobody maps to no SBD VLAN.\n"));
   EXPECT_THAT(shared, Not(HasSubstr("\nVLAN 3101")));
   EXPECT_EQ(explain(folder, {folder.write("empty.json", "{}")}).out,
             "No VRF is mapped to an SBD VLAN.\n");
}

TEST(Explain, SaysThatTheJoinStaysWhereTheMlagStateWithholds) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json", R"({"mcastEvpnConfig": {"transitVrf": ["red"]},
                        "vtiStatusDir": {"vtiStatus": {"Vxlan1": {
                           "vrfToSBDVlan": {"red": 10}}}},
                        "pegVlanStatus": {"pegVlan": [10]},
                        "mlagStatus": {"mlagState": 4}})");
   auto const text = explain(folder, {file}).out;
   EXPECT_THAT(text, HasSubstr("withheld by MLAG state 4; the join stays\n"));
   EXPECT_THAT(text,
               HasSubstr("  TransitIntfSm  join, no transit interface\n"
                         "                 enabled if the MLAG state were not 4 "
                         "(withheld)\n"
                         "                 without join if VRF red did not map to "
                         "it\n"
                         "                              or VRF red were no transit "
                         "VRF\n"
                         "                              or VLAN 10 were no PEG "
                         "VLAN\n"));
   EXPECT_THAT(explain(folder, {"--af", "ipv6", file}).out,
               HasSubstr("no change of the inputs enables it\n"));
   EXPECT_THAT(explain(folder, {"--toggle", "McastVpnTransitMlag=off", file}).out,
               HasSubstr("the toggle McastVpnTransitMlag is off (TransitSm only)\n"));
}

TEST(Explain, NamesWhatBelongsToNoVlan) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json",
                   R"({"transitIntfColl": {"intf": {"Et1": {"ipAddr": "10.0.0.9"}}}})");
   EXPECT_EQ(explain(folder, {file}).out,
             "Interface Et1 from 10.0.0.9 belongs to no VLAN: another writer's, which "
             "TransitIntfSm removes at its start, and TransitSm never.\n");
   EXPECT_EQ(json::parse(explain(folder, {"--json", file}).out)["ofNoVlan"],
             json::parse(R"([{"intf": "Et1", "ipAddr": "10.0.0.9"}])"));
   EXPECT_THAT(explain(folder, {"--vlan", "7", file}).out, Not(HasSubstr("Et1")));
}

TEST(Explain, OffersANewVrfBeforeOneThatAnotherVlanWouldLose) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json", R"({"vtiStatusDir": {"vtiStatus": {"Vxlan1": {
                           "vrfToSBDVlan": {"red": 10}}}},
                        "pegVlanStatus": {"pegVlan": [77]}})");
   EXPECT_THAT(
      explain(folder, {"--vlan", "77", file}).out,
      HasSubstr("  TransitIntfSm  no transit interface, no join\n"
                "                 enabled if VRF new mapped to it and VRF new were a "
                "transit VRF\n"
                "                         or VRF red mapped to it and not to VLAN 10 "
                "and VRF red were a transit VRF\n"
                "  TransitSm"));
}

TEST(Explain, EnablesTheInterfaceAlsoWhereTheToggleKeepsJoinsOff) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json", R"({"vtiStatusDir": {"vtiStatus": {"Vxlan1": {
                           "vrfToSBDVlan": {"red": 10}}}},
                        "mlagStatus": {"mlagState": 4}})");
   auto const text = explain(folder, {"--toggle", "McastVpnTransitMlag=off", file}).out;
   EXPECT_THAT(text, HasSubstr("  TransitSm      no transit interface, no join\n"
                               "                 enabled if the MLAG state were not 4 "
                               "(withheld) and VRF red were a transit VRF\n"));
   EXPECT_THAT(text, HasSubstr("MLAG state 4 withholds the interface\n"));
}

TEST(Explain, TakesNamesAndNumbersOfAnyKind) {
   TemporaryFolder folder;
   auto const file = folder.write(
      "state.json", R"({"vtiStatusDir": {"vtiStatus": {"Vxlan1": {"vrfToSBDVlan":
                           {"a*b": 10, "c,*d": 10, "s/~t": 5000, "none": 0}}}},
                        "membershipJoinStatus": {"vlan": {"8": {}}}})");
   auto const text = explain(folder, {"--unchecked", file}).out;
   EXPECT_THAT(text, HasSubstr(R"(mapped here: "a*b", "c,*d")"));
   EXPECT_THAT(text, HasSubstr("\nVRF s/~t maps to 5000, which is no VLAN: no machine "
                               "starts with that.\n"));
   EXPECT_THAT(text, Not(HasSubstr("VLAN 5000")));
   EXPECT_THAT(text, HasSubstr("  In the state   nothing; both machines agree\n"));
   EXPECT_EQ(explain(folder, {"--unchecked", "--vrf", "none", file}).out,
             "VRF none maps to no SBD VLAN.\n");
   auto const document =
      json::parse(explain(folder, {"--unchecked", "--json", file}).out);
   EXPECT_EQ(document["outOfRange"],
             json::parse(R"([{"vrf": "s/~t", "sbdVlan": 5000}])"));
   EXPECT_THAT(explain(folder, {"--vlan", "9", "--unchecked", "--json", file}).out,
               HasSubstr("/mcastEvpnConfig/transitVrf/s~1~0t"));
}

TEST(Explain, ListsNoMoreThan64WaysAndCountsTheRest) {
   TemporaryFolder folder;
   json document;
   for (int i = 0; i < 2000; ++i) {
      document["mcastEvpnConfig"]["transitVrf"]["v" + std::to_string(i)] =
         json::object();
   }
   document["vtiStatusDir"]["vtiStatus"]["Vxlan1"] = json::object();
   auto const file = folder.write("state.json", document.dump());
   auto const vlan =
      json::parse(explain(folder, {"--vlan", "10", "--json", file}).out)["vlans"][0];
   EXPECT_EQ(vlan["machines"]["TransitSm"]["enabledBy"].size(), 64U);
   EXPECT_EQ(vlan["machines"]["TransitSm"]["moreWays"], 2000 - 64);
   EXPECT_THAT(explain(folder, {"--vlan", "10", file}).out,
               HasSubstr("or in 1996 more ways\n"));
}

TEST(Explain, IsBriefAboutAVlanOfManyVrfs) {
   TemporaryFolder folder;
   json document;
   for (int i = 0; i < 5000; ++i) {
      auto const name = "v" + std::to_string(i);
      document["mcastEvpnConfig"]["transitVrf"][name] = json::object();
      document["vtiStatusDir"]["vtiStatus"]["Vxlan1"]["vrfToSBDVlan"][name] = 10;
   }
   auto const file = folder.write("state.json", document.dump());
   auto const text = explain(folder, {file}).out;
   EXPECT_LT(text.size(), 3000U);
   EXPECT_THAT(text, HasSubstr(" and 4995 more changes were made\n"));
   auto const vlan = json::parse(explain(folder, {"--json", file}).out)["vlans"][0];
   auto const& machine = vlan["machines"]["TransitIntfSm"];
   ASSERT_EQ(machine["enabledBy"].size(), 1U);
   EXPECT_EQ(machine["enabledBy"][0].size(), 5000U);
   EXPECT_EQ(machine["moreWays"], 4999);
}

TEST(Explain, GivesProgramsTheSame) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json", R"({"mcastEvpnConfig": {"transitVrf": ["red"]},
                        "vtiStatusDir": {"vtiStatus": {"Vxlan1": {
                           "localVtepAddr": "10.0.0.1", "vrfToSBDVlan": {"red": 10}}}},
                        "transitIntfColl": {"intf": {"Vlan10": {"ipAddr": "10.0.0.1"}}}})");
   auto const outcome = explain(folder, {"--json", file});
   EXPECT_EQ(outcome.status, 0);
   auto const document = json::parse(outcome.out);
   EXPECT_EQ(document["schemaVersion"], 1);
   ASSERT_EQ(document["vlans"].size(), 1U);
   auto const& vlan = document["vlans"][0];
   EXPECT_EQ(vlan["vlan"], 10);
   EXPECT_EQ(vlan["vrfs"], json::parse(R"([{"name": "red", "transit": true}])"));
   EXPECT_EQ(vlan["outputs"],
             json::parse(R"({"transitInterface": "10.0.0.1", "join": null})"));
   EXPECT_EQ(vlan["machines"]["TransitIntfSm"], json::parse(R"({
      "transitInterface": false, "join": false,
      "conditions": [
         {"type": "StatusPresent", "status": true, "reason": "Vxlan1Present",
          "message": "\"Vxlan1\" has a status"},
         {"type": "VrfMapped", "status": true, "reason": "Mapped",
          "message": "mapped here: red"},
         {"type": "VrfAlone", "status": true, "reason": "NotShared",
          "message": "not shared by VRFs"},
         {"type": "TransitVrf", "status": true, "reason": "TransitVrfMapped",
          "message": "red is a transit VRF"},
         {"type": "PegVlan", "status": false, "reason": "NotPegVlan",
          "message": "VLAN 10 is no PEG VLAN"},
         {"type": "NotWithheld", "status": true, "reason": "MlagStateAllows",
          "message": "MLAG state 0 withholds nothing"}],
      "enabledBy": [[{"text": "VLAN 10 were a PEG VLAN",
                      "operation": {"op": "add", "path": "/pegVlanStatus/pegVlan/10",
                                    "value": {}}}]],
      "moreWays": 0, "disabledBy": [], "outputsAgree": false})"));
   auto const& reactor = vlan["machines"]["TransitSm"];
   EXPECT_EQ(reactor["transitInterface"], true);
   EXPECT_EQ(reactor["enabledBy"], json::array());
   EXPECT_EQ(reactor["disabledBy"].size(), 4U);
}

TEST(Explain, HasEveryReasonInItsDocument) {
   Reasons given;
   std::vector<SbdVlans::Vrfs> const mapped{
      {}, {{true, "a"}}, {{false, "a"}}, {{true, "a"}, {false, "b"}}};
   for (auto const machine : {Machine::dataflow, Machine::reactor}) {
      for (auto const& vrfs : mapped) {
         for (bool const on : {false, true}) {
            VlanFacts const facts{
               10,
               on,
               vrfs,
               on,
               on ? 0U : 4U,
               on ? Lidra::AddressFamily::ipv4 : Lidra::AddressFamily::ipv6,
               on};
            for (auto const& each : conditionsOf(facts, machine)) {
               given.emplace(each.type, each.reason);
            }
         }
      }
   }
   EXPECT_EQ(given, documentedReasons());
   EXPECT_EQ(given.size(), 17U);
}

TEST(Explain, FindsEveryReasonInTheExamples) {
   TemporaryFolder folder;
   Reasons given;
   for (auto const& entry :
        std::filesystem::directory_iterator(SOURCE_FOLDER "/examples")) {
      if (entry.path().extension() != ".jsonc") {
         continue;
      }
      for (std::vector<std::string> options :
           {std::vector<std::string>{},
            {"--af", "ipv6"},
            {"--toggle", "McastVpnTransitMlag=off"}}) {
         options.insert(options.end(), {"--json", entry.path().string()});
         auto const document = json::parse(explain(folder, options).out);
         for (auto const& vlan : document["vlans"]) {
            for (auto const& machine : vlan["machines"]) {
               for (auto const& each : machine["conditions"]) {
                  given.emplace(each["type"], each["reason"]);
               }
            }
         }
      }
   }
   EXPECT_EQ(given, documentedReasons());
}
