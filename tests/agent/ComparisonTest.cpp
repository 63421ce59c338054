#include "agent/Comparison.h"
#include "agent/Document.h"
#include "agent/State.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Agent;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

// The comparison without a machine: the tests say what the two machines did, right or
// wrong.
namespace {

constexpr char const* kVlan10 = "/membershipJoinStatus/vlan/10";
constexpr char const* kIntf10 = "/transitIntfColl/intf/Vlan10";

std::string own(int levels) {
   std::vector<std::string> const paths{
      kVlan10, std::string(kVlan10) + "/group/0.0.0.0",
      std::string(kVlan10) + "/group/0.0.0.0/source/0.0.0.0",
      std::string(kVlan10) + "/group/0.0.0.0/source/0.0.0.0/includeIntf/Null0"};
   return paths.at(static_cast<size_t>(levels));
}

nlohmann::ordered_json removed(std::string const& path) {
   return {{"op", "remove"}, {"path", path}};
}
nlohmann::ordered_json added(std::string const& path) {
   return {{"op", "add"}, {"path", path}, {"value", json::object()}};
}

Operations removedLevelByLevel() {
   return {removed(own(3)), removed(own(2)), removed(own(1)), removed(own(0))};
}

class ChangeDifferences : public testing::Test {
 protected:
   ChangeDifferences() { span_.touched = &touched_; }

   // The names of the reasons; "none" where there is none.
   std::vector<std::string> reasons(std::set<std::string> const& differing = {}) const {
      std::vector<std::string> names;
      for (auto const& each : changeDifferences(span_, differing)) {
         names.emplace_back(each.reason == nullptr ? "none" : each.reason->name);
      }
      return names;
   }

   State state_;
   TouchedVlans touched_{state_};
   Span span_;
};

} // namespace

TEST_F(ChangeDifferences, AreNoneWhereTheStepsAreTheSame) {
   span_.reactor = {added(kIntf10), removed(kVlan10)};
   span_.dataflow = span_.reactor;
   EXPECT_THAT(reasons(), IsEmpty());
}

TEST_F(ChangeDifferences, OfAJoinThatGoesLevelByLevelNeedTheMachinesOwnLevels) {
   span_.reactor = {removed(kVlan10)};
   span_.dataflow = removedLevelByLevel();
   EXPECT_THAT(reasons(), ElementsAre("LevelByLevel"));

   // Another's leaf goes with it: right at a start, and at no other time.
   span_.dataflow.insert(span_.dataflow.begin(),
                         removed(std::string(kVlan10) +
                                 "/group/239.1.1.1/source/10.9.9.9/includeIntf/Et1"));
   EXPECT_THAT(reasons(), ElementsAre("none"));
   span_.hasStart = true;
   EXPECT_THAT(reasons(), ElementsAre("LevelByLevel"));
}

TEST_F(ChangeDifferences, AreNotTheOtherWayRound) {
   span_.reactor = removedLevelByLevel();
   span_.dataflow = {removed(kVlan10)};
   EXPECT_THAT(reasons(), ElementsAre("none"));

   span_.reactor = {added(kVlan10), added(kIntf10)};
   span_.dataflow = {added(kIntf10), added(kVlan10)};
   EXPECT_THAT(reasons(), ElementsAre("none"));
   std::swap(span_.reactor, span_.dataflow);
   EXPECT_THAT(reasons(), ElementsAre("OrderInVlan"));
}

TEST_F(ChangeDifferences, OfAnEntryThatGoesForAMomentHaveNoReasonOfTheirOwn) {
   span_.dataflow = {removed(kIntf10), added(kIntf10)};
   EXPECT_THAT(reasons(), ElementsAre("none"));
   EXPECT_THAT(reasons({"intf Vlan10"}),
               IsEmpty()); // the outputs differed, and why is told
   span_.hasInterimStates = true;
   EXPECT_THAT(reasons(), ElementsAre("none")); // but nothing concerned this VLAN
   state_.pegVlanStatus->pegVlanIs(11);
   EXPECT_THAT(reasons(), ElementsAre("none"));
   state_.pegVlanStatus->pegVlanIs(10);
   EXPECT_THAT(reasons(), ElementsAre("InterimStates"));
}

TEST_F(ChangeDifferences, ByAStatusNeedOneThatMapsTheVlan) {
   span_.dataflow = {removed(kIntf10), added(kIntf10)};
   auto const status = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   status->vrfToSBDVlanIs("red", 11);
   state_.vtiStatusDir->vtiStatusIs(status);
   EXPECT_THAT(reasons(), ElementsAre("none"));
   auto const other = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   other->vrfToSBDVlanIs("red", 10);
   state_.vtiStatusDir->vtiStatusIs(other);
   EXPECT_THAT(reasons(), ElementsAre("StatusVrfByVrf"));
   std::swap(span_.reactor, span_.dataflow);
   EXPECT_THAT(reasons(), ElementsAre("none"));
}

TEST_F(ChangeDifferences, ByAnEmptyLevelNeedOneAndTakeNoLeaf) {
   span_.reactor = {added(own(1)), added(own(2)), added(own(3))};
   span_.dataflow = {removed(own(0)), added(own(0)), added(own(1)), added(own(2)),
                     added(own(3))};
   EXPECT_THAT(reasons(), ElementsAre("none"));
   span_.emptyLevels = {"join 10"};
   EXPECT_THAT(reasons(), ElementsAre("EmptyLevelPruned"));
   span_.dataflow.insert(span_.dataflow.begin(), removed(own(3)));
   EXPECT_THAT(reasons(), ElementsAre("none"));
}

TEST(CompareOutputs, LeavesUnexplainedWhatAMachineWroteAgainstItsRule) {
   Options options;
   options.both = true;
   auto const each = optionsOfEach(options);
   Host reactor(each[0]);
   Host dataflow(each[1]);
   json const document = {
      {"mcastEvpnConfig", {{"transitVrf", {{"red", json::object()}}}}},
      {"vtiStatusDir",
       {{"vtiStatus",
         {{"Vxlan1",
           {{"localVtepAddr", "10.0.0.1"}, {"vrfToSBDVlan", {{"red", 10U}}}}}}}}}};
   for (auto* const host : {&reactor, &dataflow}) {
      host->state().assign(host->state().canonical(document, Checks::plausible));
      host->start();
      host->drain();
   }
   auto const reasonsOf = [&](char const* key) {
      std::vector<std::string> names;
      auto const differences = compareOutputs(reactor, dataflow, options).differences;
      for (auto const* reason : differences.at(key).reasons) {
         names.emplace_back(reason->name);
      }
      return names;
   };
   EXPECT_THAT(reasonsOf("intf Vlan10"), ElementsAre("PegRule"));
   EXPECT_THAT(reasonsOf("join 10"), ElementsAre("PegRule"));

   // As if the machine had done it: nobody said that another writer did.
   reactor.state().transitIntfColl->intfIs(
      Lidra::IntfId("Vlan10"), Lidra::IpGenAddr(std::string_view("10.0.0.9")));
   EXPECT_THAT(reasonsOf("intf Vlan10"), IsEmpty());
   EXPECT_THAT(reasonsOf("join 10"), ElementsAre("PegRule"));
   dataflow.state().transitIntfColl->intfIs(
      Lidra::IntfId("Vlan77"), Lidra::IpGenAddr(std::string_view("10.0.0.1")));
   EXPECT_THAT(reasonsOf("intf Vlan77"), IsEmpty());
}
