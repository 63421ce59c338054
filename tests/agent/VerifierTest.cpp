#include "agent/verify/Verifier.h"
#include "McastVpnLib/McastVpnLib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Verify;
using testing::ElementsAre;
using testing::IsEmpty;

// The verifier without a machine: the test plays its part, right or wrong.
namespace {

constexpr auto kIpv4 = Lidra::AddressFamily::ipv4;
constexpr auto kIpv6 = Lidra::AddressFamily::ipv6;

class VerifierTest : public testing::Test {
 protected:
   VerifierTest() {
      status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.1")));
      status->mlagVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.99")));
      dir->vtiStatusIs(status);
      config->transitVrfIs("red");
      status->vrfToSBDVlanIs("red", 10);
      pegVlans->pegVlanIs(10);
   }

   Verifier verifierOf(Machine machine, Lidra::AddressFamily af = kIpv4,
                       bool joinsEnabled = true) {
      return Verifier(
         {machine, af, joinsEnabled, {config, dir, mlag, pegVlans}, coll, joins});
   }

   void interfaceIs(char const* name, char const* addr = "10.0.0.1") {
      coll->intfIs(Lidra::IntfId(name), Lidra::IpGenAddr(std::string_view(addr)));
   }
   Pelk::Ptr<Irb::Multicast::Gmp::SourceMembershipJoin>
   sourceIs(uint16_t vlanId, char const* group = "0.0.0.0") {
      return joins->vlanIs(vlanId)
         ->groupIs(Lidra::IpGenAddr(std::string_view(group)))
         ->sourceIs(Lidra::IpGenAddr::ipGenAddrZero(kIpv4));
   }
   void joinIs(uint16_t vlanId, char const* group = "0.0.0.0") {
      sourceIs(vlanId, group)->includeIntfIs(Lidra::IntfId("Null0"));
   }
   // What a right machine writes for the inputs above.
   void writeRedOnVlan10() {
      interfaceIs("Vlan10");
      joinIs(10);
   }

   // "intf Vlan10: status gone", or "intf Vlan10: wrong".
   static std::vector<std::string> verdicts(Verifier& verifier) {
      std::vector<std::string> texts;
      for (auto const& each : verifier.differences()) {
         EXPECT_NE(each.should, each.is);
         texts.push_back(
            each.key + ": " +
            (each.excuse == nullptr ? "wrong" : std::string(each.excuse->name)));
      }
      return texts;
   }

   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> pegVlans =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> coll =
      Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
};

} // namespace

TEST_F(VerifierTest, RulesDifferInWhatSharesAVlanAndInPegVlans) {
   auto reactor = verifierOf(Machine::reactor);
   auto dataflow = verifierOf(Machine::dataflow);
   Outputs const red = {{"intf Vlan10", "10.0.0.1"},
                        {"join 10", "(0.0.0.0, 0.0.0.0) include Null0"}};
   EXPECT_EQ(reactor.expected(), red);
   EXPECT_EQ(dataflow.expected(), red);
   pegVlans->pegVlanDel(10);
   EXPECT_EQ(reactor.expected(), red);
   EXPECT_THAT(dataflow.expected(), IsEmpty());
   pegVlans->pegVlanIs(10);
   status->vrfToSBDVlanIs("blue", 10);
   EXPECT_EQ(reactor.expected(), red);
   EXPECT_THAT(dataflow.expected(), IsEmpty());
}

TEST_F(VerifierTest, RulesChooseTheAddressByTheMlagState) {
   for (auto const machine : {Machine::reactor, Machine::dataflow}) {
      auto const verifier = verifierOf(machine);
      mlag->mlagStateIs(Mlag::MlagState::active);
      EXPECT_EQ(verifier.expected().at("intf Vlan10"), "10.0.0.99");
      mlag->mlagStateIs(Mlag::MlagState::withheld);
      EXPECT_EQ(verifier.expected(),
                (Outputs{{"join 10", "(0.0.0.0, 0.0.0.0) include Null0"}}));
      mlag->mlagStateIs(Mlag::MlagState::connecting);
      EXPECT_EQ(verifier.expected().at("intf Vlan10"), "10.0.0.1");
   }
}

TEST_F(VerifierTest, RulesOfIpv6AreNothingForTheReactorAndIpv6JoinsForTheOther) {
   EXPECT_THAT(verifierOf(Machine::reactor, kIpv6).expected(), IsEmpty());
   EXPECT_EQ(
      verifierOf(Machine::dataflow, kIpv6).expected(),
      (Outputs{{"intf Vlan10", "10.0.0.1"}, {"join 10", "(::, ::) include Null0"}}));
}

TEST_F(VerifierTest, RulesPassOverVlansThatAreNone) {
   status->vrfToSBDVlanIs("red", 0);
   for (auto const machine : {Machine::reactor, Machine::dataflow}) {
      EXPECT_THAT(verifierOf(machine).expected(), IsEmpty());
   }
}

TEST_F(VerifierTest, WhatNobodyExcusesIsWrong) {
   for (auto const machine : {Machine::reactor, Machine::dataflow}) {
      auto verifier = verifierOf(machine);
      verifier.starting();
      EXPECT_THAT(verdicts(verifier),
                  ElementsAre("intf Vlan10: wrong", "join 10: wrong"));
      writeRedOnVlan10();
      EXPECT_THAT(verdicts(verifier), IsEmpty());
      interfaceIs("Vlan10", "10.0.0.7");
      interfaceIs("Vlan20");
      joinIs(10, "224.1.1.1");
      EXPECT_THAT(
         verdicts(verifier),
         ElementsAre("intf Vlan10: wrong", "intf Vlan20: wrong", "join 10: wrong"));
      coll->intfDelAll();
      joins->vlanDel(10);
   }
}

TEST_F(VerifierTest, WhatAnotherWriterDidIsExcusedUntilItAgreesAgain) {
   for (auto const machine : {Machine::reactor, Machine::dataflow}) {
      auto verifier = verifierOf(machine);
      verifier.starting();
      writeRedOnVlan10();
      ASSERT_THAT(verdicts(verifier), IsEmpty());
      interfaceIs("Vlan20");
      verifier.written("intf Vlan20");
      coll->intfDel(Lidra::IntfId("Vlan10"));
      verifier.written("intf Vlan10");
      joinIs(10, "224.1.1.1");
      verifier.written("join 10");
      bool const isReactor = machine == Machine::reactor;
      EXPECT_THAT(
         verdicts(verifier),
         ElementsAre("intf Vlan10: taken away",
                     isReactor ? "intf Vlan20: foreign entry"
                               : "intf Vlan20: late entry",
                     isReactor ? "join 10: foreign leaf" : "join 10: late entry"));
      interfaceIs("Vlan10");
      coll->intfDel(Lidra::IntfId("Vlan20"));
      joins->vlan(10)->groupDel(Lidra::IpGenAddr(std::string_view("224.1.1.1")));
      EXPECT_THAT(verdicts(verifier), IsEmpty());
      interfaceIs("Vlan20");
      EXPECT_THAT(verdicts(verifier), ElementsAre("intf Vlan20: wrong"));
      coll->intfDelAll();
      joins->vlanDel(10);
   }
}

TEST_F(VerifierTest, AStartOfTheReactorExcusesWhatItDoesNotEvaluate) {
   auto verifier = verifierOf(Machine::reactor);
   status->vrfToSBDVlanIs("green", 30);
   writeRedOnVlan10();
   joinIs(10, "224.1.1.1");
   interfaceIs("Vlan20");
   interfaceIs("Vlan30");
   interfaceIs("Ethernet1");
   verifier.starting();
   EXPECT_THAT(verdicts(verifier),
               ElementsAre("intf Ethernet1: foreign entry",
                           "intf Vlan20: foreign entry", "intf Vlan30: wrong",
                           "join 10: foreign leaf"));
}

TEST_F(VerifierTest, AStartOfTheReactorThatWritesNoJoinsExcusesThemAll) {
   config->transitVrfDel("red");
   joinIs(10);
   auto enabled = verifierOf(Machine::reactor);
   enabled.starting();
   EXPECT_THAT(verdicts(enabled), ElementsAre("join 10: wrong"));
   auto disabled = verifierOf(Machine::reactor, kIpv4, false);
   disabled.starting();
   EXPECT_THAT(verdicts(disabled), ElementsAre("join 10: foreign entry"));
}

TEST_F(VerifierTest, AStartOfTheDataflowMachineExcusesEmptyLevelsAlone) {
   auto verifier = verifierOf(Machine::dataflow);
   writeRedOnVlan10();
   sourceIs(10, "224.1.1.1");
   joins->vlanIs(20);
   joinIs(30);
   interfaceIs("Vlan40");
   verifier.starting();
   EXPECT_THAT(verdicts(verifier),
               ElementsAre("intf Vlan40: wrong", "join 10: empty level",
                           "join 20: empty level", "join 30: wrong"));
}

TEST_F(VerifierTest, InterfacesThatAGoneStatusLeavesAreExcusedUntilTheyAreMappedAgain) {
   auto verifier = verifierOf(Machine::dataflow);
   verifier.starting();
   writeRedOnVlan10();
   ASSERT_THAT(verdicts(verifier), IsEmpty());
   dir->vtiStatusDel(Lidra::IntfId("Vxlan1"));
   EXPECT_THAT(verdicts(verifier),
               ElementsAre("intf Vlan10: status gone", "join 10: wrong"));
   joins->vlanDel(10);
   status->vrfToSBDVlanDel("red");
   dir->vtiStatusIs(status);
   EXPECT_THAT(verdicts(verifier), ElementsAre("intf Vlan10: status gone"));
   // Evaluated, and no transit VLAN: now the interface must go.
   status->vrfToSBDVlanIs("blue", 10);
   EXPECT_THAT(verdicts(verifier), ElementsAre("intf Vlan10: wrong"));
}

TEST_F(VerifierTest, AGoneStatusExcusesNothingForTheReactorNorOtherVlans) {
   interfaceIs("Vlan10");
   auto reactor = verifierOf(Machine::reactor);
   reactor.starting();
   auto dataflow = verifierOf(Machine::dataflow);
   dataflow.starting();
   interfaceIs("Vlan20");
   dir->vtiStatusDel(Lidra::IntfId("Vxlan1"));
   EXPECT_THAT(verdicts(reactor),
               ElementsAre("intf Vlan10: wrong", "intf Vlan20: wrong"));
   EXPECT_THAT(verdicts(dataflow),
               ElementsAre("intf Vlan10: status gone", "intf Vlan20: wrong"));
}

TEST_F(VerifierTest, AStatusInThePlaceOfAnotherExcusesNothing) {
   auto verifier = verifierOf(Machine::dataflow);
   verifier.starting();
   interfaceIs("Vlan10");
   dir->vtiStatusIs(Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1")));
   EXPECT_THAT(verdicts(verifier), ElementsAre("intf Vlan10: wrong"));
}

TEST_F(VerifierTest, AStartForgetsWhatWasBefore) {
   auto verifier = verifierOf(Machine::dataflow);
   verifier.starting();
   writeRedOnVlan10();
   interfaceIs("Vlan20");
   verifier.written("intf Vlan20");
   verifier.stopped();
   dir->vtiStatusDel(Lidra::IntfId("Vxlan1"));
   dir->vtiStatusIs(status);
   verifier.starting();
   EXPECT_THAT(verdicts(verifier), ElementsAre("intf Vlan20: wrong"));
}
