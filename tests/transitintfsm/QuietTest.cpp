#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
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

} // namespace
