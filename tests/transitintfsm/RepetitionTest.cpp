#include "support/DataflowFixture.h"

// What the second pass leaves out, and what it must not.
namespace {

using namespace Support;

class TransitIntfSmRepetition : public DataflowTest {
 protected:
   TransitIntfSmRepetition() {
      Pelk::Trace::levelsIs(Pelk::TraceLevels());
      for (uint16_t vlan = 10; vlan < 40; ++vlan) {
         transitOn(("vrf-" + std::to_string(vlan)).c_str(), vlan);
      }
   }

   size_t seen() const { return sm->transitIntfCollIntfOutputSeen().size(); }
   // Runs slices while every output is held back, and what is asked for holds.
   template <typename F>
   void runWhile(F holds) {
      while (!sm->initialScanDone() || holds()) {
         ASSERT_TRUE(scheduler->runSlice());
      }
      ASSERT_EQ(sm->transitIntfCollIntfOutputReconciliationState(),
                Irb::Multicast::Evpn::kSkipBoth);
   }
};

// Version numbers count changes: a key that comes, or gets another value.
TEST_F(TransitIntfSmRepetition, EveryVlanIsEvaluatedOnceInAColdStart) {
   startAsync<Kolm::PollShare>(1u);
   runWhile([&] { return seen() < 30; });
   EXPECT_EQ(sm->transitIntfCollIntfOutputSeen().version(), 30u);
   while (sm->inputScansComplete() == false) {
      ASSERT_TRUE(scheduler->runSlice());
   }
   EXPECT_LE(sm->transitIntfCollIntfOutputSeen().version(), 31u); // perhaps cleared
   runUntilReady();
}

TEST_F(TransitIntfSmRepetition, AChangeThatIsTakenBackMeanwhileLeavesTheRightAddress) {
   startAsync<Kolm::PollShare>(1u);
   runWhile([&] { return seen() < 15; });
   status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.9.9.9")));
   ASSERT_TRUE(scheduler->runSlice());
   status->localVtepAddrIs(Lidra::IpAddr(std::string_view(kLocal)));
   runUntilReady();
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_EQ(addressOf(39), kLocal);
}

TEST_F(TransitIntfSmRepetition, AChangeBeforeTheSecondScanOfTheMappingsIsSeenByIt) {
   startAsync<Kolm::PollShare>(1u);
   runWhile([&] { return false; });
   mlagIs(3);
   config->transitVrfDel("vrf-10");
   peg->pegVlanDel(11);
   runUntilReady();
   EXPECT_EQ(addressOf(12), kShared);
   EXPECT_EQ(addressOf(10), "no interface");
   EXPECT_EQ(addressOf(11), "no interface");
}

} // namespace
