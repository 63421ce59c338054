#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "agent/verify/Outputs.h"
#include "support/EventLog.h"
#include "support/RandomInputs.h"
#include "zin/Hash.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace Support;

// A synchronous machine, and what is announced of its outputs at random events; some of
// them are made by who is notified. While nothing is traced the machine changes the
// address of an interface by a short way.
std::vector<std::string> outcomeOf(uint32_t seed, char const* levels) {
   EventLog log(levels);
   auto const config = Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   auto const dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   auto const mlag = Pelk::makePtr<Mlag::Status>();
   auto const peg = Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
   auto const coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   auto const joins = Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   RandomInputs inputs(seed, *config, *mlag, dir, *peg);
   inputs.fill();
   log.follow(*coll);
   log.follow(*joins);
   Vorn::SmControl control;
   control.runModeIs(Vorn::RunMode::synchronous);
   auto const sm = Irb::Multicast::Evpn::transitIntfSmFactory(
      Lidra::AddressFamily::ipv4, config, dir, mlag, coll, joins, peg, control);
   bool inStep = false;
   log.actionIs([&](std::string const&) {
      if (!inStep && inputs.oneIn(10)) {
         inStep = true;
         inputs.step();
         inStep = false;
      }
   });
   std::vector<std::string> outcome;
   for (int event = 0; event < 300; ++event) {
      outcome.push_back(inputs.step());
      if (inputs.oneIn(20)) {
         joins->vlanDelAll(); // somebody else
      }
      for (auto const& notified : log.takeNotified()) {
         outcome.push_back(notified);
      }
   }
   return outcome;
}

TEST(TransitIntfSmQuiet, WhatIsTracedMakesNoDifferenceToWhatIsDone) {
   for (uint32_t seed = 1; seed <= 100; ++seed) {
      Zin::HashHelper::hashSeed32Is(seed);
      auto const quiet = outcomeOf(seed, "15");
      ASSERT_GT(quiet.size(), 300u) << "seed " << seed;
      ASSERT_EQ(quiet, outcomeOf(seed, "all")) << "seed " << seed;
   }
}

// Takes the first group that a VLAN gets, and counts those that come.
class Taker final : public Pelk::Subscriber {
 public:
   explicit Taker(Irb::Multicast::Gmp::VlanMembershipJoin& vlan)
      : Subscriber(&told), vlan_(vlan) {}

   int groups = 0;

 private:
   static void told(Pelk::Publisher*, Subscriber* subscriber, int16_t, void const*,
                    void const* value) noexcept {
      auto& taker = *static_cast<Taker*>(subscriber);
      if (value != nullptr && taker.groups++ == 0) {
         taker.vlan_.groupDelAll();
      }
   }

   Irb::Multicast::Gmp::VlanMembershipJoin& vlan_;
};

// A synchronous machine that made VRF "red" on VLAN 10 a transit VLAN, and traces
// nothing.
class TransitIntfSmShortWay : public testing::Test {
 protected:
   TransitIntfSmShortWay() {
      dir->vtiStatusIs(status);
      status->mlagVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.99")));
      status->vrfToSBDVlanIs("red", 10);
      config->transitVrfIs("red");
      peg->pegVlanIs(10);
   }
   void start() {
      Vorn::SmControl control;
      control.runModeIs(Vorn::RunMode::synchronous);
      sm = Irb::Multicast::Evpn::transitIntfSmFactory(
         Lidra::AddressFamily::ipv4, config, dir, mlag, coll, joins, peg, control);
   }
   // After a change of the address.
   void expectOutputs() {
      mlag->mlagStateIs(Mlag::MlagState::active);
      EXPECT_EQ(
         Verify::outputsOf(*coll, *joins),
         (Verify::Outputs{{Verify::intfKey("Vlan10"), "10.0.0.99"},
                          {Verify::joinKey(10),
                           Verify::wildcardJoinText(Lidra::AddressFamily::ipv4)}}));
   }

   EventLog log{"15"};
   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId(std::string_view("Vxlan1")));
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> peg =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> coll =
      Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfSm> sm;
};

TEST_F(TransitIntfSmShortWay, GivesAnInterfaceItsNextAddress) {
   start();
   expectOutputs();
}

TEST_F(TransitIntfSmShortWay, IsNotTakenWhereSomebodyElseTookTheJoin) {
   start();
   joins->vlanDelAll();
   expectOutputs();
}

TEST_F(TransitIntfSmShortWay, IsNotTakenWhereSomebodyElseTookPartOfTheJoin) {
   start();
   joins->vlan(10)->groupDelAll();
   expectOutputs();
}

TEST_F(TransitIntfSmShortWay, IsNotTakenWhereSomebodyElseLeftARouterOfTheJoin) {
   start();
   auto const vlan = joins->vlan(10);
   vlan->routerIntfIs(Lidra::IntfId("Ethernet1"));
   vlan->groupDelAll();
   mlag->mlagStateIs(Mlag::MlagState::active);
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv4);
   ASSERT_TRUE(vlan->group(any) && vlan->group(any)->source(any));
   EXPECT_TRUE(
      vlan->group(any)->source(any)->includeIntf().contains(Lidra::IntfId("Null0")));
}

TEST_F(TransitIntfSmShortWay, IsNotTakenWhereSomebodyElseTookTheInterface) {
   start();
   coll->intfDelAll();
   expectOutputs();
}

TEST_F(TransitIntfSmShortWay, AJoinIsMadeOnceMoreIfWhoFollowsItsVlanOnlyTakesIt) {
   auto const vlan = joins->vlanIs(10);
   Taker taker(*vlan);
   vlan->subscriberAdd(&taker, 0);
   start();
   vlan->subscriberRemove(&taker);
   EXPECT_EQ(taker.groups, 2);
   expectOutputs();
}

} // namespace
