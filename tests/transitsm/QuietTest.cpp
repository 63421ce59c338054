#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "support/RandomInputs.h"
#include "support/TransitFixture.h"
#include "zin/Hash.h"

namespace {

using namespace Support;
namespace TransitTrace = Irb::Multicast::Evpn::TransitTrace;

// A reactor, and what comes of random events; some of them are made by who is notified
// of the joins. Nobody listens to the interfaces, of which the reactor then changes the
// address by a short way, unless it has something to trace.
std::vector<std::string> outcomeOf(uint32_t seed, char const* levels) {
   EventLog log(levels);
   auto const config = Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   auto const dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   auto const mlag = Pelk::makePtr<Mlag::Status>();
   auto const coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   auto const joins = Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   Pelk::Ptr<TransitSm> sm;
   RandomInputs inputs(seed, *config, *mlag, dir, [&](RandomInputs::Dir const& next) {
      if (sm) {
         sm->vtiStatusDirIs(next);
      }
   });
   for (int left = 20; left != 0; --left) {
      inputs.step();
   }
   log.follow(*joins);
   sm = Irb::Multicast::Evpn::transitSmFactory(kIpv4, config, dir, mlag, coll, joins);
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
      for (auto const& [key, value] : Verify::outputsOf(*coll, *joins)) {
         outcome.push_back(key + " " + value);
      }
   }
   return outcome;
}

TEST(TransitSmQuiet, WhatIsTracedMakesNoDifferenceToWhatIsDone) {
   auto const ringLevels = TransitTrace::ring()->levels();
   TransitTrace::ring()->levelsIs(Pelk::TraceLevels());
   for (uint32_t seed = 1; seed <= 30; ++seed) {
      Zin::HashHelper::hashSeed32Is(seed);
      auto const quiet = outcomeOf(seed, "15");
      ASSERT_GT(quiet.size(), 300u) << "seed " << seed;
      ASSERT_EQ(quiet, outcomeOf(seed, "all")) << "seed " << seed;
   }
   TransitTrace::ring()->levelsIs(ringLevels);
}

TEST(TransitSmQuiet, AJoinThatGoesWhenItsInterfaceGetsAnAddressIsMadeAgain) {
   auto const ringLevels = TransitTrace::ring()->levels();
   TransitTrace::ring()->levelsIs(Pelk::TraceLevels());
   EventLog log("15");
   auto const config = Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   auto const dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   auto const status = Pelk::makePtr<Vxlan::VtiStatus>(vxlan1());
   auto const mlag = Pelk::makePtr<Mlag::Status>();
   auto const coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   auto const joins = Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   dir->vtiStatusIs(status);
   status->mlagVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.99")));
   status->vrfToSBDVlanIs("red", 10);
   config->transitVrfIs("red");
   auto const sm =
      Irb::Multicast::Evpn::transitSmFactory(kIpv4, config, dir, mlag, coll, joins);
   auto const outputs = Verify::outputsOf(*coll, *joins);
   ASSERT_TRUE(outputs.contains(joinKey(10)));
   log.follow(*coll);
   int taken = 0;
   log.actionIs([&](std::string const& text) {
      if (text == "intf[Vlan10].ipAddr = 10.0.0.99") {
         ++taken;
         joins->vlanDelAll();
      }
   });
   mlag->mlagStateIs(Mlag::MlagState::active);
   EXPECT_EQ(taken, 1);
   EXPECT_EQ(Verify::outputsOf(*coll, *joins).at(joinKey(10)), outputs.at(joinKey(10)));
   TransitTrace::ring()->levelsIs(ringLevels);
}

} // namespace
