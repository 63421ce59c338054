#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr char const* kRedOnVlan10 = R"({
   "mcastEvpnConfig": { "transitVrf": ["red"] },
   "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
      "localVtepAddr": "10.0.0.1", "mlagVtepAddr": "10.0.0.100",
      "vrfToSBDVlan": { "red": 10 } } } } })";

// With the reactor, which needs no task; DataflowTest.cpp has what the other adds.
class Replay : public testing::Test {
 protected:
   Outcome play(std::string const& events, std::vector<std::string> options = {}) {
      options.insert(options.begin(), {"replay", "--sm", "reactor"});
      options.push_back(folder_.write("events.jsonl", events));
      return runAgent(folder_, options);
   }
   Outcome playOverRed(std::string const& events,
                       std::vector<std::string> options = {}) {
      options.insert(options.end(),
                     {"--state", folder_.write("state.json", kRedOnVlan10)});
      return play(events, options);
   }
   static std::vector<std::string> lines(std::string const& text) {
      std::vector<std::string> result;
      std::istringstream in(text);
      for (std::string line; std::getline(in, line);) {
         result.push_back(line);
      }
      return result;
   }

   TemporaryFolder folder_;
};

} // namespace

TEST_F(Replay, PrintsTheConstructionThenEachLineWithItsEffectsThenTheEnd) {
   auto const outcome = playOverRed(
      "# a comment\n\n"
      "{\"op\":\"replace\",\"path\":\"/mlagStatus/mlagState\",\"value\":3}\n"
      "{\"op\":\"remove\",\"path\":\"/mcastEvpnConfig/transitVrf/red\"}\n");
   EXPECT_EQ(outcome.err, "");
   EXPECT_EQ(outcome.status, 0);
   EXPECT_THAT(
      lines(outcome.out),
      ElementsAre(
         R"({"line":0})",
         R"({"op":"add","path":"/transitIntfColl/intf/Vlan10","value":{"ipAddr":"10.0.0.1"}})",
         R"({"op":"add","path":"/membershipJoinStatus/vlan/10","value":{"group":{},"routerIntf":{}}})",
         R"({"op":"add","path":"/membershipJoinStatus/vlan/10/group/0.0.0.0","value":{"source":{}}})",
         R"({"op":"add","path":"/membershipJoinStatus/vlan/10/group/0.0.0.0/source/0.0.0.0","value":{"excludeIntf":{},"includeIntf":{}}})",
         R"({"op":"add","path":"/membershipJoinStatus/vlan/10/group/0.0.0.0/source/0.0.0.0/includeIntf/Null0","value":{}})",
         R"({"line":3})",
         R"({"op":"replace","path":"/transitIntfColl/intf/Vlan10/ipAddr","value":"10.0.0.100"})",
         R"({"line":4})", R"({"op":"remove","path":"/transitIntfColl/intf/Vlan10"})",
         R"({"op":"remove","path":"/membershipJoinStatus/vlan/10"})",
         R"({"end":{"slices":0,"tests":0,"failed":0}})"));
}

TEST_F(Replay, StartsWithoutAMachineWhenTheFirstLineStopsIt) {
   auto const outcome =
      playOverRed("# first\n{\"host\":\"stop\"}\n"
                  "{\"op\":\"test\",\"path\":\"/transitIntfColl/intf\","
                  "\"value\":{}}\n"
                  "{\"host\":\"start\"}\n"
                  "{\"op\":\"test\",\"path\":\"/transitIntfColl/intf\","
                  "\"value\":{\"Vlan10\":{\"ipAddr\":\"10.0.0.1\"}}}\n");
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   auto const printed = lines(outcome.out);
   EXPECT_EQ(printed[0], R"({"line":2})");
   EXPECT_EQ(printed[1], R"({"line":3})");
   EXPECT_EQ(printed[2], R"({"line":4})");
   EXPECT_EQ(printed.back(), R"({"end":{"slices":0,"tests":2,"failed":0}})");
}

TEST_F(Replay, RestartOverRightOutputsChangesNothing) {
   auto const outcome = playOverRed("{\"host\":\"restart\"}\n{\"host\":\"drain\"}\n"
                                    "{\"host\":\"slice\",\"count\":3}\n");
   auto const printed = lines(outcome.out);
   EXPECT_THAT(std::vector<std::string>(printed.end() - 4, printed.end()),
               ElementsAre(R"({"line":1})", R"({"line":2})", R"({"line":3})",
                           R"({"end":{"slices":0,"tests":0,"failed":0}})"));
}

TEST_F(Replay, StopLeavesTheOutputsAndFollowsNoInputAnyMore) {
   auto const outcome =
      playOverRed("{\"host\":\"drain\"}\n{\"host\":\"stop\"}\n"
                  "{\"op\":\"remove\",\"path\":\"/mcastEvpnConfig/transitVrf/red\"}\n"
                  "{\"op\":\"test\",\"path\":\"/transitIntfColl/intf/Vlan10/ipAddr\","
                  "\"value\":\"10.0.0.1\"}\n");
   EXPECT_EQ(outcome.status, 0) << outcome.out;
   EXPECT_THAT(outcome.out, testing::Not(HasSubstr("\"remove\"")));
}

TEST_F(Replay, ReportsAFailedTestPlaysTheRestAndEndsWithOne) {
   auto const outcome = playOverRed(
      "[{\"op\":\"test\",\"path\":\"/mlagStatus/mlagState\",\"value\":\"active\"},"
      "{\"op\":\"replace\",\"path\":\"/mlagStatus/mlagState\",\"value\":\"active\"}]\n"
      "{\"op\":\"test\",\"path\":\"/mlagStatus/mlagState\",\"value\":\"active\"}\n"
      "{\"op\":\"test\",\"path\":\"/transitIntfColl/intf/Vlan11\","
      "\"value\":{\"ipAddr\":\"10.0.0.1\"}}\n");
   EXPECT_EQ(outcome.status, 1);
   auto const printed = lines(outcome.out);
   EXPECT_EQ(
      printed[7],
      R"({"test":"failed","line":1,"path":"/mlagStatus/mlagState","want":3,"have":0})");
   EXPECT_EQ(
      printed[printed.size() - 2],
      R"({"test":"failed","line":3,"path":"/transitIntfColl/intf/Vlan11","want":{"ipAddr":"10.0.0.1"},"have":null})");
   EXPECT_EQ(printed.back(), R"({"end":{"slices":0,"tests":3,"failed":2}})");
}

TEST_F(Replay, PrintsTheTraceBetweenTheOutputsInTheOrderInWhichThingsHappen) {
   auto const outcome = playOverRed(
      "", {"--trace", "4", "--toggle", "McastVpnTransitMlag=off", "--seed", "7"});
   auto const trace = [](char const* function, char const* text) {
      return R"({"trace":{"name":"McastVpn::Transit","file":"McastVpnLib/McastVpnTransitSm","function":")" +
             std::string(function) + R"(","level":4,"text":")" + text + R"("}})";
   };
   EXPECT_THAT(
      lines(outcome.out),
      ElementsAre(
         R"({"line":0})",
         trace("updateTransitIntf",
               "updateTransitIntf( ipv4 ), create transit intf: Vlan10"),
         trace("vtepAddr", "vtepAddr for transit interface : 10.0.0.1"),
         R"({"op":"add","path":"/transitIntfColl/intf/Vlan10","value":{"ipAddr":"10.0.0.1"}})",
         trace("updateTransitIntf",
               "updateTransitIntf( ipv4 ), create transit intf: Vlan10"),
         trace("vtepAddr", "vtepAddr for transit interface : 10.0.0.1"),
         R"({"end":{"slices":0,"tests":0,"failed":0}})"));
}

// The second of what the reactor does when the VRF goes is told only after that.
TEST_F(Replay, ChangesWhatAnInsideLineSaysInsideThatNotification) {
   auto const inside = [](std::string const& path) {
      return R"({"host":"inside","count":2,"event":{"op":"remove","path":")" + path +
             "\"}}\n";
   };
   std::string const go =
      "{\"op\":\"remove\",\"path\":\"/mcastEvpnConfig/transitVrf/red\"}\n";
   auto const plain = lines(playOverRed(go).out);
   auto const foreign = "/transitIntfColl/intf/Vlan99";
   auto const put = std::string(R"({"op":"add","path":")") + foreign +
                    R"(","value":{"ipAddr":"10.0.0.9"}})" + '\n';
   auto const played = playOverRed(put + inside(foreign) + go);
   EXPECT_EQ(played.status, 0) << played.err;
   auto const printed = lines(played.out);
   auto const first = std::ranges::find(printed, R"({"line":3})");
   ASSERT_GT(std::distance(first, printed.end()), 4);
   auto const& second = *(first + 2);
   EXPECT_EQ(std::ranges::count(plain, second), 1) << second;
   EXPECT_EQ(*(first + 3), std::string(R"({"op":"remove","path":")") + foreign + "\"}");
   auto const impossible = playOverRed(inside(foreign) + go);
   EXPECT_EQ(impossible.status, 1);
   EXPECT_THAT(impossible.err, AllOf(HasSubstr("events.jsonl:1: /event"),
                                     HasSubstr("nothing stands here")));
   auto const recorded =
      playOverRed(inside(foreign), {"--record", folder_.file("recording")});
   EXPECT_EQ(recorded.status, 2);
   EXPECT_THAT(recorded.err, HasSubstr("allowed is what can be recorded (--record)"));
}

TEST_F(Replay, ReadsEventsFromStandardInput) {
   auto const outcome = runAgent(folder_, {"replay", "--sm", "reactor", "-"},
                                 "{\"op\":\"test\",\"path\":\"/pegVlanStatus/pegVlan\","
                                 "\"value\":[]}\n");
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   EXPECT_EQ(outcome.out, "{\"line\":0}\n{\"line\":1}\n"
                          "{\"end\":{\"slices\":0,\"tests\":1,\"failed\":0}}\n");
}

TEST_F(Replay, AnswersALineOfStandardInputBeforeItReadsTheNext) {
   // A line is written, its answer is awaited, and only then the input ends.
   auto const outcome = runShell(
      folder_, "mkfifo '" + folder_.file("in") + "' '" + folder_.file("answers") +
                  "'; " + shellQuoted(AGENT_PROGRAM) + " replay --sm reactor - <'" +
                  folder_.file("in") + "' >'" + folder_.file("answers") +
                  "' & exec 3>'" + folder_.file("in") + "' 4<'" +
                  folder_.file("answers") +
                  "'; echo '{\"host\":\"drain\"}' >&3; read -r first <&4; "
                  "read -r second <&4; exec 3>&-; echo \"$first $second\"; cat <&4");
   EXPECT_EQ(outcome.out, "{\"line\":0} {\"line\":1}\n"
                          "{\"end\":{\"slices\":0,\"tests\":0,\"failed\":0}}\n");
}

TEST_F(Replay, TakesWindowsLineEndsAMarkAtTheStartAndNoLineEndAtTheEnd) {
   auto const outcome = play("\xef\xbb\xbf# a comment\r\n\r\n{\"host\":\"drain\"}\r\n"
                             "{\"host\":\"drain\"}");
   EXPECT_EQ(outcome.err, "");
   EXPECT_EQ(outcome.out, "{\"line\":0}\n{\"line\":3}\n{\"line\":4}\n"
                          "{\"end\":{\"slices\":0,\"tests\":0,\"failed\":0}}\n");
}

TEST_F(Replay, OfIpv6FollowsItsInputsAndWritesNothing) {
   auto const outcome = playOverRed(
      "{\"op\":\"replace\",\"path\":\"/mlagStatus/mlagState\",\"value\":3}\n",
      {"--af", "ipv6"});
   EXPECT_EQ(outcome.out, "{\"line\":0}\n{\"line\":1}\n"
                          "{\"end\":{\"slices\":0,\"tests\":0,\"failed\":0}}\n");
}

TEST_F(Replay, PrintsTheSameTwiceWithTheSameSeed) {
   auto const once =
      runAgent(folder_, {"replay", "--seed", "42", "--slice-items", "3", "--state",
                         "examples/minimal.jsonc", "examples/story.jsonl"});
   auto const again =
      runAgent(folder_, {"replay", "--seed", "42", "--slice-items", "3", "--state",
                         "examples/minimal.jsonc", "examples/story.jsonl"});
   EXPECT_EQ(once.status, 0) << once.out;
   EXPECT_EQ(once.out, again.out);
}

TEST_F(Replay, RecordsAppliedInOrderGiveTheOutputsAtTheEnd) {
   for (int seed = 1; seed <= 5; ++seed) {
      auto const played =
         runAgent(folder_, {"replay", "--seed", std::to_string(seed), "--state",
                            "examples/minimal.jsonc", "examples/story.jsonl"});
      ASSERT_EQ(played.status, 0) << played.out;
      json outputs = {{"transitIntfColl", {{"intf", json::object()}}},
                      {"membershipJoinStatus", {{"vlan", json::object()}}}};
      for (auto const& line : lines(played.out)) {
         auto const record = json::parse(line);
         if (record.contains("op")) {
            outputs = outputs.patch(json::array({record}));
         }
      }
      auto const end = runAgent(folder_, {"run", "--json", "examples/minimal.jsonc"});
      EXPECT_EQ(outputs, json::parse(end.out)) << "the story ends where it began";
   }
}

namespace {

struct BadEvent {
   char const* what;
   char const* line;
   char const* message;
};

class RefusedEvent : public testing::TestWithParam<BadEvent> {};

} // namespace

TEST_P(RefusedEvent, EndsReplayWithTwoAtItsLineAndPublishesNothingOfIt) {
   TemporaryFolder folder;
   auto const state = folder.write("state.json", kRedOnVlan10);
   auto const events =
      folder.write("events.jsonl", std::string("# comment\n{\"host\":\"drain\"}\n") +
                                      GetParam().line + "\n{\"host\":\"drain\"}\n");
   auto const outcome =
      runAgent(folder, {"replay", "--sm", "reactor", "--state", state, events});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err,
             "mcastvpn-agent: " + events + ":3: " + GetParam().message + "\n");
   EXPECT_TRUE(outcome.out.ends_with("{\"line\":2}\n")) << outcome.out;
}

INSTANTIATE_TEST_SUITE_P(
   OfEveryKind, RefusedEvent,
   testing::Values(
      BadEvent{"UnknownMember", R"({"op":"add","path":"/mlag","value":{}})",
               "/mlag: the unknown member \"mlag\" stands here; allowed is "
               "mcastEvpnConfig, vtiStatusDir, mlagStatus, pegVlanStatus, "
               "transitIntfColl, membershipJoinStatus"},
      BadEvent{
         "UnknownAttribute", R"({"op":"add","path":"/mlagStatus/state","value":1})",
         "/mlagStatus/state: the unknown member \"state\" stands here; allowed is "
         "mlagState"},
      BadEvent{
         "RemovalOfNothing",
         R"({"op":"remove","path":"/mcastEvpnConfig/transitVrf/blue"})",
         "/mcastEvpnConfig/transitVrf/blue: nothing stands here; allowed is what is "
         "there to be replaced, removed or taken"},
      BadEvent{
         "ReplacementOfNothing",
         R"({"op":"replace","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/blue","value":9})",
         "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/blue: nothing stands here; "
         "allowed "
         "is what is there to be replaced, removed or taken"},
      BadEvent{
         "AdditionToNothing",
         R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan2/localVtepAddr","value":"10.0.0.9"})",
         "/vtiStatusDir/vtiStatus/Vxlan2/localVtepAddr: nothing to add to stands here; "
         "allowed is a place in something that stands there"},
      BadEvent{
         "VlanOutOfRange",
         R"({"op":"add","path":"/pegVlanStatus/pegVlan/4095","value":{}})",
         "/pegVlanStatus/pegVlan/4095: the key \"4095\" stands here; allowed is a "
         "VLAN number from 1 to 4094"},
      BadEvent{
         "WrongType", R"({"op":"replace","path":"/mlagStatus/mlagState","value":[]})",
         "/mlagStatus/mlagState: [] stands here; allowed is a number from 0 to "
         "4294967295, or one of disabled, inactive, connecting, active, withheld"},
      BadEvent{
         "PlaceInsideAValue", R"({"op":"remove","path":"/mlagStatus/mlagState/x"})",
         "/mlagStatus/mlagState/x: a place inside a value stands here; allowed is no "
         "more than /mlagStatus/mlagState"},
      BadEvent{"NoPointer", R"({"op":"remove","path":"mlagStatus"})",
               "/path: \"mlagStatus\" stands here; allowed is a JSON pointer, such as "
               "/pegVlanStatus"},
      BadEvent{
         "NoPath", R"({"op":"remove"})",
         "the document: an operation without \"path\" stands here; allowed is a JSON "
         "pointer"},
      BadEvent{"NoValue", R"({"op":"add","path":"/pegVlanStatus/pegVlan/10"})",
               "the document: an operation without a value stands here; allowed is one "
               "with a value"},
      BadEvent{
         "UnknownOperation", R"({"op":"put","path":"/pegVlanStatus","value":{}})",
         "/op: \"put\" stands here; allowed is one of add, replace, remove, test, "
         "move, copy"},
      BadEvent{"NoOperation", "17",
               "the document: 17 stands here; allowed is a JSON Patch operation"},
      BadEvent{"NoJson", "{\"op\":",
               "not JSON: syntax error while parsing value - unexpected end of input; "
               "expected '[', '{', or a literal"},
      BadEvent{
         "SecondOfAnArray",
         R"([{"op":"remove","path":"/mcastEvpnConfig/transitVrf/red"},{"op":"remove","path":"/mcastEvpnConfig/transitVrf/red"}])",
         "operation 2: /mcastEvpnConfig/transitVrf/red: nothing stands here; allowed "
         "is what is there to be replaced, removed or taken"},
      BadEvent{
         "UnknownHostLine", R"({"host":"reboot"})",
         "/host: \"reboot\" stands here; allowed is one of drain, slice, stop, start, "
         "restart, flag, inside"},
      BadEvent{
         "InsideWithoutACount", R"({"host":"inside","event":{"op":"add"}})",
         "/count: nothing stands here; allowed is a whole number of notifications, from "
         "1"},
      BadEvent{"InsideWithoutAnOperation", R"({"host":"inside","count":1,"event":3})",
               "/event: 3 stands here; allowed is an operation"},
      BadEvent{
         "StartWhileRunning", R"({"host":"start"})",
         "/host: a start while a machine runs stands here; allowed is a start after "
         "a stop"},
      BadEvent{"SliceWithoutCount", R"({"host":"slice"})",
               "/count: nothing stands here; allowed is a whole number of slices"},
      BadEvent{
         "HostLineWithMore", R"({"host":"stop","op":"add"})",
         "/op: the unknown member \"op\" stands here; allowed is what the host line "
         "needs and no more"},
      BadEvent{"NumberOfTooManyDigits",
               R"({"op":"replace","path":"/mlagStatus/mlagState","value":1e400})",
               "not JSON: number overflow parsing '1e400'"},
      BadEvent{"FlagOfTheReactor", R"({"host":"flag","want":"ready","value":true})",
               "/host: a flag stands here; allowed is a flag of the dataflow machine, "
               "which does not run here"}),
   [](auto const& param) { return std::string(param.param.what); });

TEST_F(Replay, RefusesToStopWhatDoesNotRun) {
   auto const outcome = play("{\"host\":\"stop\"}\n{\"host\":\"restart\"}\n");
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, HasSubstr(":2: /host: a restart while no machine runs"));
}
