#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

class Run : public testing::Test {
 protected:
   Outcome run(std::string const& state, std::vector<std::string> options = {}) {
      options.insert(options.begin(), "run");
      options.push_back(folder_.write("state.jsonc", state));
      return runAgent(folder_, options);
   }
   json outputs(std::string const& state, std::vector<std::string> options = {}) {
      options.push_back("--json");
      auto const outcome = run(state, options);
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      return json::parse(outcome.out);
   }

   TemporaryFolder folder_;
};

json join(std::string const& intf) {
   return {{"routerIntf", json::object()},
           {"group",
            {{"0.0.0.0",
              {{"source",
                {{"0.0.0.0",
                  {{"includeIntf", {{intf, json::object()}}},
                   {"excludeIntf", json::object()}}}}}}}}}};
}

} // namespace

TEST_F(Run, OfAnEmptyDocumentPrintsEmptyOutputs) {
   EXPECT_EQ(outputs("{}"), json::parse(R"({"transitIntfColl":{"intf":{}},
                                           "membershipJoinStatus":{"vlan":{}}})"));
}

TEST_F(Run, ComputesInterfaceAndJoin) {
   auto const result = outputs(readText(SOURCE_FOLDER "/examples/minimal.jsonc"));
   EXPECT_EQ(result["transitIntfColl"]["intf"],
             json::parse(R"({"Vlan10":{"ipAddr":"10.0.0.100"}})"));
   EXPECT_EQ(result["membershipJoinStatus"]["vlan"], json({{"10", join("Null0")}}));
}

TEST_F(Run, SortsTheKeysOfItsOutputs) {
   auto const outcome = run(readText(SOURCE_FOLDER "/examples/leaf-pair.jsonc"),
                            {"--json", "--seed", "3"});
   EXPECT_EQ(outcome.out, json::parse(outcome.out).dump(2) + "\n");
   auto const again = run(readText(SOURCE_FOLDER "/examples/leaf-pair.jsonc"),
                          {"--json", "--seed", "4"});
   EXPECT_EQ(outcome.out, again.out);
}

TEST_F(Run, OutputsAreAcceptedAsTheStateOfTheNextRun) {
   auto document = json::parse(readText(SOURCE_FOLDER "/examples/minimal.jsonc"),
                               nullptr, true, true);
   document.update(outputs(document.dump()));
   EXPECT_EQ(outputs(document.dump())["transitIntfColl"], document["transitIntfColl"]);
}

TEST_F(Run, TakesArraysForSetsNamesForStatesAndComments) {
   auto const result = outputs(R"(// a comment
      { "mcastEvpnConfig": { "transitVrf": ["red"] /* another */ },
        "pegVlanStatus": { "pegVlan": [10, 20] },
        "mlagStatus": { "mlagState": "active" },
        "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
           "mlagVtepAddr": "10.0.0.100", "vrfToSBDVlan": { "red": 10 } } } } })");
   EXPECT_EQ(result["transitIntfColl"]["intf"]["Vlan10"]["ipAddr"], "10.0.0.100");
}

TEST_F(Run, WithheldLeavesTheJoinAlone) {
   auto const result = outputs(R"({ "mcastEvpnConfig": { "transitVrf": ["red"] },
        "mlagStatus": { "mlagState": 4 }, "pegVlanStatus": { "pegVlan": [10] },
        "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
           "localVtepAddr": "10.0.0.1", "vrfToSBDVlan": { "red": 10 } } } } })");
   EXPECT_EQ(result["transitIntfColl"]["intf"], json::object());
   EXPECT_EQ(result["membershipJoinStatus"]["vlan"], json({{"10", join("Null0")}}));
}

TEST_F(Run, ToggleOffWritesNoJoin) {
   auto const state = readText(SOURCE_FOLDER "/examples/minimal.jsonc");
   auto const byOption =
      outputs(state, {"--sm", "reactor", "--toggle", "McastVpnTransitMlag=off"});
   EXPECT_EQ(byOption["membershipJoinStatus"]["vlan"], json::object());
   auto const file = folder_.write("toggles.json", R"({"McastVpnTransitMlag": false})");
   auto const byFile = outputs(state, {"--sm", "reactor", "--toggle-file", file});
   EXPECT_EQ(byFile, byOption);
   auto const both = outputs(state, {"--sm", "reactor", "--toggle-file", file,
                                     "--toggle", "McastVpnTransitMlag=on"});
   EXPECT_EQ(both["membershipJoinStatus"]["vlan"], json({{"10", join("Null0")}}));
}

TEST_F(Run, RefusesABadToggleFile) {
   auto const file = folder_.write("toggles.json", R"({"McastVpnTransitMlag": 1})");
   auto const outcome = run("{}", {"--toggle-file", file});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.out, "");
   EXPECT_THAT(outcome.err, HasSubstr(file));
   EXPECT_THAT(outcome.err, HasSubstr("McastVpnTransitMlag"));
}

TEST_F(Run, TracesToStandardErrorWhileResultsGoToStandardOutput) {
   auto const state = readText(SOURCE_FOLDER "/examples/minimal.jsonc");
   auto const silent = run(state, {"--json"});
   auto const traced = run(state, {"--sm", "reactor", "--json", "--trace", "8"});
   EXPECT_EQ(traced.out, silent.out);
   EXPECT_THAT(traced.err, HasSubstr("handleInitialized( ipv4 )"));
   EXPECT_THAT(traced.err, HasSubstr("Transit enabled Vrf: red"));
   EXPECT_THAT(traced.err, Not(HasSubstr("create transit intf")));
}

TEST_F(Run, ReadsTheDocumentFromStandardInput) {
   auto const outcome = runAgent(folder_, {"run", "--json", "-"}, "{}");
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   EXPECT_EQ(json::parse(outcome.out)["transitIntfColl"]["intf"], json::object());
}

TEST_F(Run, TableUsesNoColourWhenItIsNoTerminal) {
   auto const outcome = run(readText(SOURCE_FOLDER "/examples/leaf-pair.jsonc"));
   EXPECT_EQ(outcome.status, 0);
   EXPECT_THAT(outcome.out, Not(HasSubstr("\033")));
}

TEST_F(Run, TableUsesColourOnATerminalUnlessNoColorIsSet) {
   auto const command = [](char const* environment) {
      return std::string("script -qec ") +
             shellQuoted(std::string(environment) + " " AGENT_PROGRAM
                                                    " run examples/minimal.jsonc") +
             " /dev/null";
   };
   EXPECT_THAT(runShell(folder_, command("env -u NO_COLOR")).out,
               HasSubstr("\033[32m"));
   EXPECT_THAT(runShell(folder_, command("env NO_COLOR=1")).out,
               testing::AllOf(HasSubstr("Vlan10"), Not(HasSubstr("\033"))));
}

TEST_F(Run, TableShowsNamesThatCouldBeMisreadInQuotesAndOnOneLine) {
   auto const outcome = run(R"({
      "mcastEvpnConfig": { "transitVrf": ["", "\u001b[31m\nx"] },
      "vtiStatusDir": { "vtiStatus": { "Vxlan1": { "vrfToSBDVlan": {
         "": 10, "a*": 10, "b, c": 10, "\u001b[31m\nx": 20, "Guest WLAN": 30 } } } } })",
                            {"--sm", "reactor", "--trace", "8"});
   EXPECT_THAT(outcome.out, HasSubstr("\"\"*, \"a*\", \"b, c\"\n")) << outcome.out;
   EXPECT_THAT(outcome.out, HasSubstr("\"\\u001b[31m\\nx\"*"));
   EXPECT_THAT(outcome.out, HasSubstr("  Guest WLAN  "));
   EXPECT_THAT(outcome.out, Not(HasSubstr("\033")));
   EXPECT_THAT(outcome.err, HasSubstr("vrf: \\u001b[31m\\u000ax\n"));
   EXPECT_THAT(outcome.err, Not(HasSubstr("\033")));
}

TEST_F(Run, TableOfNothingSaysSo) {
   auto const outcome = run("{}");
   EXPECT_TRUE(
      outcome.out.ends_with("  Transit VRFs  0 configured, 0 with an SBD VLAN\n\n"
                            "  No VRF is mapped to an SBD VLAN.\n"))
      << outcome.out;
}

TEST_F(Run, PeersOfAPairDifferOnlyWhereTheyAnnounceTheirOwnAddress) {
   auto const outputsOf = [&](char const* peer, char const* mlagState) {
      auto document = json::parse(
         readText(std::string(SOURCE_FOLDER "/examples/") + peer), nullptr, true, true);
      document["mlagStatus"]["mlagState"] = mlagState;
      return outputs(document.dump());
   };
   EXPECT_EQ(outputsOf("leaf-pair.jsonc", "active"),
             outputsOf("leaf-pair-peer.jsonc", "active"));
   auto const own = outputsOf("leaf-pair.jsonc", "inactive");
   auto const peers = outputsOf("leaf-pair-peer.jsonc", "inactive");
   EXPECT_EQ(own["membershipJoinStatus"], peers["membershipJoinStatus"]);
   EXPECT_EQ(own["transitIntfColl"]["intf"]["Vlan3101"]["ipAddr"], "10.255.1.11");
   EXPECT_EQ(peers["transitIntfColl"]["intf"]["Vlan3101"]["ipAddr"], "10.255.1.12");
}

TEST_F(Run, ResultsThatCannotBeWrittenEndItWithTwo) {
   for (auto const* command :
        {" run examples/minimal.jsonc", " --help", " --version",
         " replay --state examples/minimal.jsonc examples/story.jsonl"}) {
      auto const outcome =
         runShell(folder_, shellQuoted(AGENT_PROGRAM) + command + " >/dev/full");
      EXPECT_EQ(outcome.status, 2) << command;
      EXPECT_THAT(outcome.err, HasSubstr("standard output")) << command;
   }
}

TEST_F(Run, TableTellsForEachVlanWhatItHasOrWhyNot) {
   auto const outcome = run(R"({
      "mcastEvpnConfig": { "transitVrf": ["red", "orphan"] },
      "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
         "localVtepAddr": "10.0.0.1", "mlagVtepAddr": "10.0.0.100",
         "vrfToSBDVlan": { "red": 10, "blue": 20, "green": 10 } } } },
      "transitIntfColl": { "intf": { "Vlan30": { "ipAddr": "10.9.9.9" },
                                     "Ethernet1": { "ipAddr": "10.8.8.8" } } } })",
                            {"--sm", "reactor"});
   auto const body = outcome.out.substr(outcome.out.find('\n'));
   EXPECT_EQ(body,
             R"(

  MLAG state    disabled (0)
  VTEP address  10.0.0.1, this switch's own
  Transit VRFs  2 configured, 1 with an SBD VLAN; without: orphan

  SBD VLAN  Transit interface  Source VTEP  Join          VRFs (* transit)  Why not
        10  Vlan10             10.0.0.1     (*, *) Null0  red*, green
        20  -                  -            -             blue              no transit VRF
        30  Vlan30             10.9.9.9     -             -                 no VRF maps here: left by others
         -  Ethernet1          10.8.8.8     -             -                 no VLAN interface: another writer's

  1 of 2 SBD VLANs have a transit interface, 1 a join.
)");
}
