#include "agent/Patch.h"
#include "agent/BadInput.h"
#include "agent/OutputRecorder.h"
#include "agent/State.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace Agent;
using nlohmann::json;

namespace {

// A state whose entities' notifications are all recorded, outputs and inputs alike.
class PatchOf : public testing::Test {
 protected:
   PatchOf() {
      for (auto const& member : state_.members()) {
         recorders_.push_back(std::make_unique<OutputRecorder>(
            member.name, member.entity,
            [this](nlohmann::ordered_json const& operation) {
               operations_.push_back(json(operation));
            }));
      }
   }

   std::vector<FailedTest> apply(json const& patch, Checks checks = Checks::plausible) {
      operations_.clear();
      struct Failures final : Patch::Observer {
         void failed(FailedTest const& test) override { tests.push_back(test); }
         void writing(bool toOutput) override {
            writes += toOutput ? "output" : "input";
         }
         void written() override { writes += ';'; }

         std::vector<FailedTest> tests;
         std::string writes;
      } failures;
      Patch(state_, patch, checks).apply(failures);
      writes_ = failures.writes;
      return failures.tests;
   }
   void apply(char const* patch) { apply(json::parse(patch)); }

   json at(char const* pointer) {
      return state_.toJson().at(json::json_pointer(pointer));
   }

   State state_;
   std::string writes_; // of the last patch
   std::vector<std::unique_ptr<OutputRecorder>> recorders_;
   std::vector<json> operations_;
};

json operation(char const* op, std::string const& path, json const& value) {
   return {{"op", op}, {"path", path}, {"value", value}};
}
json removal(std::string const& path) {
   return {{"op", "remove"}, {"path", path}};
}

} // namespace

TEST_F(PatchOf, EntitiesSaysBeforeEachWriteWhetherItIsToAnOutput) {
   apply(R"([{"op":"replace","path":"/mlagStatus/mlagState","value":3},
             {"op":"test","path":"/mlagStatus/mlagState","value":3},
             {"op":"add","path":"/transitIntfColl/intf/Vlan10","value":{}}])");
   EXPECT_EQ(writes_, "input;output;");
   apply(R"({"op":"remove","path":""})");
   EXPECT_EQ(writes_, "input;input;input;input;output;output;");
}

TEST_F(PatchOf, AMemberOfASetAddsAndRemovesIt) {
   apply(R"({"op":"add","path":"/mcastEvpnConfig/transitVrf/a~1b~0c","value":{}})");
   EXPECT_TRUE(state_.mcastEvpnConfig->transitVrfHas("a/b~c"));
   EXPECT_EQ(operations_,
             std::vector{operation("add", "/mcastEvpnConfig/transitVrf/a~1b~0c",
                                   json::object())});
   apply(R"({"op":"remove","path":"/mcastEvpnConfig/transitVrf/a~1b~0c"})");
   EXPECT_FALSE(state_.mcastEvpnConfig->transitVrfHas("a/b~c"));
}

TEST_F(PatchOf, APresentMemberOrAnEqualValueIsPassedToTheEntityWhichDecides) {
   apply(
      R"([{"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1","value":{"vrfToSBDVlan":{"red":10}}},
             {"op":"add","path":"/mcastEvpnConfig/transitVrf/red","value":{}},
             {"op":"replace","path":"/mlagStatus/mlagState","value":3}])");
   EXPECT_EQ(operations_.size(), 3U);
   apply(R"({"op":"add","path":"/mcastEvpnConfig/transitVrf/red","value":{}})");
   EXPECT_EQ(operations_.size(), 0U);
   apply(R"({"op":"replace","path":"/mlagStatus/mlagState","value":"active"})");
   EXPECT_EQ(operations_.size(), 0U);
   // A map of an input announces an equal value too.
   apply(
      R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red","value":10})");
   EXPECT_EQ(operations_.size(), 1U);
}

TEST_F(PatchOf, AnInterfacePublishesOneNewEntryWhole) {
   apply(R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1","value":
            {"localVtepAddr":"10.0.0.1","vrfToSBDVlan":{"red":10}}})");
   EXPECT_EQ(operations_,
             std::vector{operation("add", "/vtiStatusDir/vtiStatus/Vxlan1",
                                   json::parse(R"({"localVtepAddr":"10.0.0.1",
                                      "mlagVtepAddr":"0.0.0.0","vrfToSBDVlan":{"red":10}})"))});
}

TEST_F(PatchOf, APresentInterfaceReplacesTheEntityUnderItsKey) {
   apply(R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1","value":{}})");
   auto const before = state_.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"));
   apply(R"({"op":"replace","path":"/vtiStatusDir/vtiStatus/Vxlan1","value":{}})");
   auto const after = state_.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"));
   EXPECT_NE(before, after);
   EXPECT_EQ(operations_.size(), 1U);
}

TEST_F(PatchOf, AWholeCollectionBecomesTheMutationsThatMakeTheDifference) {
   apply(R"({"op":"add","path":"/mcastEvpnConfig/transitVrf","value":["a","b","c"]})");
   EXPECT_EQ(operations_.size(), 3U);
   apply(R"({"op":"replace","path":"/mcastEvpnConfig/transitVrf","value":["b","d"]})");
   ASSERT_EQ(operations_.size(), 3U);
   EXPECT_EQ(operations_[0]["op"], "remove");
   EXPECT_EQ(operations_[1]["op"], "remove");
   EXPECT_EQ(operations_[2],
             operation("add", "/mcastEvpnConfig/transitVrf/d", json::object()));
   EXPECT_EQ(at("/mcastEvpnConfig/transitVrf"), json::parse(R"({"b":{},"d":{}})"));
}

TEST_F(PatchOf, ARemovedAttributeEntityOrDocumentStandsWithItsDefault) {
   apply(R"([{"op":"replace","path":"/mlagStatus/mlagState","value":3},
             {"op":"add","path":"/pegVlanStatus/pegVlan/10","value":{}},
             {"op":"add","path":"/transitIntfColl/intf/Vlan10","value":{"ipAddr":"::1"}}])");
   apply(R"({"op":"remove","path":"/mlagStatus/mlagState"})");
   EXPECT_EQ(at("/mlagStatus/mlagState"), 0);
   apply(R"({"op":"remove","path":"/pegVlanStatus"})");
   EXPECT_EQ(at("/pegVlanStatus/pegVlan"), json::object());
   apply(R"({"op":"remove","path":""})");
   EXPECT_EQ(state_.toJson(), State().toJson());
}

TEST_F(PatchOf, AnArraySeesWhatTheOperationsBeforeHaveDone) {
   apply(R"([{"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1","value":{}},
             {"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red","value":10},
             {"op":"replace","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red","value":20},
             {"op":"remove","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red"}])");
   EXPECT_EQ(operations_.size(), 4U);
   EXPECT_EQ(at("/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan"), json::object());
}

TEST_F(PatchOf, ABadOperationOfAnArrayLeavesTheStateAlone) {
   auto const before = state_.toJson();
   EXPECT_THROW(apply(R"([{"op":"add","path":"/pegVlanStatus/pegVlan/10","value":{}},
                {"op":"remove","path":"/pegVlanStatus/pegVlan/11"}])"),
                BadInput);
   EXPECT_EQ(state_.toJson(), before);
   EXPECT_TRUE(operations_.empty());
}

TEST_F(PatchOf, MoveAndCopyAreARemovalAndAnAddition) {
   apply(R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1","value":
            {"localVtepAddr":"10.0.0.1","vrfToSBDVlan":{"red":10}}})");
   apply(R"({"op":"move","from":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red",
             "path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/blue"})");
   EXPECT_EQ(at("/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan"),
             json::parse(R"({"blue":10})"));
   apply(R"({"op":"copy","from":"/vtiStatusDir/vtiStatus/Vxlan1",
             "path":"/vtiStatusDir/vtiStatus/Vxlan2"})");
   EXPECT_EQ(at("/vtiStatusDir/vtiStatus/Vxlan2"),
             at("/vtiStatusDir/vtiStatus/Vxlan1"));
}

TEST_F(PatchOf, TestsCompareCanonicalFormsAndReportBothValues) {
   EXPECT_TRUE(
      apply(json::parse(
               R"({"op":"test","path":"/mlagStatus/mlagState","value":"disabled"})"))
         .empty());
   auto const failed = apply(json::parse(
      R"({"op":"test","path":"/mcastEvpnConfig","value":{"transitVrf":["a"]}})"));
   ASSERT_EQ(failed.size(), 1U);
   EXPECT_EQ(failed[0].pointer.to_string(), "/mcastEvpnConfig");
   EXPECT_EQ(failed[0].want, json::parse(R"({"transitVrf":{"a":{}}})"));
   EXPECT_EQ(failed[0].have, json::parse(R"({"transitVrf":{}})"));
}

TEST_F(PatchOf, OutputsPlaysThePartOfAnotherWriter) {
   apply(R"({"op":"add","path":"/membershipJoinStatus/vlan/10","value":
            {"routerIntf":{"Ethernet1":{}},"group":{"224.1.1.1":{"source":{"::":{
             "includeIntf":{"Vlan10":{}}}}}}}})");
   EXPECT_EQ(operations_.size(), 5U);
   EXPECT_EQ(operations_[0], operation("add", "/membershipJoinStatus/vlan/10",
                                       json::parse(R"({"group":{},"routerIntf":{}})")));
   apply(
      R"({"op":"add","path":"/transitIntfColl/intf/Vlan10","value":{"ipAddr":"10.0.0.1"}})");
   EXPECT_EQ(operations_, std::vector{operation("add", "/transitIntfColl/intf/Vlan10",
                                                {{"ipAddr", "10.0.0.1"}})});
   apply(
      R"({"op":"replace","path":"/transitIntfColl/intf/Vlan10/ipAddr","value":"10.0.0.2"})");
   EXPECT_EQ(operations_,
             std::vector{operation("replace", "/transitIntfColl/intf/Vlan10/ipAddr",
                                   "10.0.0.2")});
   apply(R"({"op":"remove","path":"/membershipJoinStatus/vlan/10/group/224.1.1.1"})");
   EXPECT_EQ(operations_,
             std::vector{removal("/membershipJoinStatus/vlan/10/group/224.1.1.1")});
}

TEST_F(PatchOf, RandomOperationsIsRecordedSoThatTheRecordMakesTheSameState) {
   std::mt19937 random(20261121);
   auto const pick = [&](auto const& choices) {
      return choices[random() % std::size(choices)];
   };
   std::vector<std::string> const vrfs = {"default", "red", "Guest WLAN", "a/b", "~"};
   std::vector<std::string> const vlans = {"1", "10", "4094"};
   std::vector<std::string> const intfs = {"Vxlan1", "Vlan10", "Null0",
                                           "Port-Channel5"};
   std::vector<std::string> const addrs = {"0.0.0.0", "10.0.0.1", "::", "ff05::1"};
   auto const key = [](std::string const& text) {
      return (json::json_pointer() / text).to_string();
   };
   auto const place = [&]() -> std::string {
      auto const vlan = "/membershipJoinStatus/vlan/" + pick(vlans);
      auto const source = vlan + "/group/" + pick(addrs) + "/source/" + pick(addrs);
      std::vector<std::string> const places = {
         "/mcastEvpnConfig/transitVrf" + key(pick(vrfs)),
         "/pegVlanStatus/pegVlan/" + pick(vlans),
         "/vtiStatusDir/vtiStatus/" + pick(intfs),
         "/vtiStatusDir/vtiStatus/" + pick(intfs) + "/vrfToSBDVlan" + key(pick(vrfs)),
         "/transitIntfColl/intf/" + pick(intfs),
         vlan,
         vlan + "/routerIntf/" + pick(intfs),
         vlan + "/group/" + pick(addrs),
         source,
         source + "/includeIntf/" + pick(intfs),
         source + "/excludeIntf/" + pick(intfs)};
      return pick(places);
   };
   json recorded = state_.toJson();
   size_t applied = 0;
   for (int i = 0; i < 20000; ++i) {
      auto const path = place();
      bool const isMapped = path.find("vrfToSBDVlan") != std::string::npos;
      bool const isIntf = path.starts_with("/transitIntfColl");
      json value = isMapped ? json(1 + random() % 4094) : json::object();
      if (isIntf) {
         value = {{"ipAddr", pick(addrs)}};
      }
      auto const patch =
         random() % 3 == 0 ? removal(path) : operation("add", path, value);
      try {
         apply(patch);
      } catch (BadInput const&) {
         continue;
      }
      ++applied;
      recorded = recorded.patch(json(operations_));
      // The state itself agrees with what any JSON Patch library makes of the record.
      if (i % 100 == 0) {
         ASSERT_EQ(recorded, state_.toJson()) << patch;
      }
   }
   EXPECT_EQ(recorded, state_.toJson());
   EXPECT_GT(applied, 5000U);
}
