#include "support/Recordings.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>

using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

// explain of a recording: the state that it ended in, and what wrote it.
namespace {

class ExplainRecording : public testing::Test {
 protected:
   // Of events over the state in which VLAN 10 has its outputs.
   std::string recordingOf(std::string const& events,
                           std::string const& state = "examples/minimal.jsonc") {
      return recordedTo(folder_, "recording",
                        {"--state", state, folder_.write("events.jsonl", events)});
   }
   std::string explained(std::string const& recording, std::string const& vlan) {
      auto const outcome = runAgent(folder_, {"explain", "--vlan", vlan, recording});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      return outcome.out;
   }
   json outputsOf(std::string const& recording, std::string const& vlan) {
      auto const outcome =
         runAgent(folder_, {"explain", "--json", "--vlan", vlan, recording});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      return json::parse(outcome.out).at("vlans").at(0).at("outputs");
   }

   TemporaryFolder folder_;
};

constexpr char const* kTenant =
   R"([{"op":"add","path":"/mcastEvpnConfig/transitVrf/x","value":{}},)"
   R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/x","value":77},)"
   R"({"op":"add","path":"/pegVlanStatus/pegVlan/77","value":{}}])"
   "\n";

} // namespace

TEST_F(ExplainRecording, NamesTheChangeThatWroteEachOutput) {
   auto const recording = recordingOf(kTenant);
   EXPECT_THAT(explained(recording, "77"),
               HasSubstr("\n                 both written by change 3: add "
                         "/pegVlanStatus/pegVlan/77\n"));
   json const cause{
      {"number", 3}, {"op", "add"}, {"path", "/pegVlanStatus/pegVlan/77"}};
   EXPECT_EQ(outputsOf(recording, "77").at("cause"),
             json({{"transitInterface", cause}, {"join", cause}}));
   EXPECT_THAT(explained(recording, "10"), HasSubstr("both written at the start\n"));
   EXPECT_EQ(outputsOf(recording, "10").at("cause").at("join"), json({{"number", 0}}));
}

TEST_F(ExplainRecording, TellsTwoOutputsApartThatTwoChangesWrote) {
   auto const recording = recordingOf(
      R"({"op":"replace","path":"/mlagStatus/mlagState","value":"withheld"})"
      "\n"
      R"({"op":"replace","path":"/mlagStatus/mlagState","value":"active"})"
      "\n");
   EXPECT_THAT(explained(recording, "10"),
               AllOf(HasSubstr("transit interface written by change 2: replace "
                               "/mlagStatus/mlagState\n"),
                     HasSubstr("join written at the start\n")));
}

TEST_F(ExplainRecording, PutsNothingDownToAChangeThatAnotherWriterWrote) {
   auto const recording = recordingOf(
      std::string(kTenant) +
      R"({"op":"replace","path":"/transitIntfColl/intf/Vlan77/ipAddr","value":"9.9.9.9"})"
      "\n");
   EXPECT_THAT(explained(recording, "77"),
               AllOf(HasSubstr("transit interface written by another writer\n"),
                     HasSubstr("join written by change 3: ")));
   EXPECT_EQ(outputsOf(recording, "77").at("cause").at("transitInterface"),
             json({{"anotherWriter", true}}));
}

TEST_F(ExplainRecording, KnowsWhatStoodThereBefore) {
   auto const outputs = recordingOf("", "examples/restart.jsonc");
   EXPECT_THAT(explained(outputs, "10"), HasSubstr("both written before the start\n"));
   EXPECT_EQ(outputsOf(outputs, "10").at("cause").at("join"), nullptr);
}

TEST_F(ExplainRecording, HasNoCauseWhereThereIsNoOutput) {
   auto const recording =
      recordingOf(R"({"op":"remove","path":"/pegVlanStatus/pegVlan/10"})"
                  "\n");
   EXPECT_THAT(explained(recording, "10"),
               AllOf(HasSubstr("PegVlan"), Not(HasSubstr("written"))));
   EXPECT_EQ(outputsOf(recording, "10").at("cause").at("transitInterface"), nullptr);
}

TEST_F(ExplainRecording, AStateHasNoCauses) {
   auto const text = runAgent(folder_, {"explain", "examples/restart.jsonc"}).out;
   EXPECT_THAT(text, Not(HasSubstr("written")));
   EXPECT_FALSE(outputsOf("examples/restart.jsonc", "10").contains("cause"));
}

TEST_F(ExplainRecording, IsOfTheOptionsOfThen) {
   auto const recording =
      recordedTo(folder_, "recording",
                 {"--sm", "reactor", "--toggle", "McastVpnTransitMlag=off", "--state",
                  "examples/minimal.jsonc", folder_.write("events.jsonl", "")});
   EXPECT_THAT(explained(recording, "10"),
               HasSubstr("the toggle McastVpnTransitMlag is off"));
}
