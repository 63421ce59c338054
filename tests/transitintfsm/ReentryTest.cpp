#include "support/DataflowFixture.h"
#include "support/NotificationRecorder.h"

namespace {

using namespace Support;
using testing::IsEmpty;

// Whoever is notified of an output changes an input from there.
class TransitIntfSmReentry : public DataflowTest {
 protected:
   // Does something once, when the notification comes.
   void when(std::string const& text, std::function<void()> act) {
      log.actionIs([this, text, act](std::string const& event) {
         if (event == text) {
            log.actionIs(nullptr);
            ++acted;
            act();
         }
      });
   }
   void TearDown() override {
      EXPECT_EQ(acted, 1);
      DataflowTest::TearDown();
   }
   void redOn10() {
      transitOn("red", 10);
      startQuietly();
   }

   int acted = 0;
};

TEST_F(TransitIntfSmReentry, AVlanThatEndsWhileItsJoinIsBuiltHasNone) {
   startQuietly();
   transit("red");
   map("red", 10);
   when("+ vlan[10].group[0.0.0.0]", [&] { peg->pegVlanDel(10); });
   peg->pegVlanIs(10);
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitIntfSmReentry, AVlanThatComesBackWhileItsJoinGoesHasIt) {
   redOn10();
   when("- vlan[10].group[0.0.0.0].source[0.0.0.0]", [&] { peg->pegVlanIs(10); });
   peg->pegVlanDel(10);
   EXPECT_TRUE(hasJoin(10));
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitIntfSmReentry, AVrfThatMovesOnceMoreEndsOnItsLastVlan) {
   redOn10();
   peg->pegVlanIs(20);
   peg->pegVlanIs(30);
   when("- intf[Vlan10]", [&] { map("red", 30); });
   map("red", 20);
   EXPECT_EQ(addressOf(30), kLocal);
   EXPECT_EQ(addressOf(20), "no interface");
   EXPECT_FALSE(sm->groupByAttr0(20));
}

TEST_F(TransitIntfSmReentry, MlagState4FromInsideWithdrawsTheInterfaceThatJustCame) {
   startQuietly();
   when("+ intf[Vlan10]", [&] { mlagIs(4); });
   transitOn("red", 10);
   EXPECT_EQ(addressOf(10), "no interface");
   EXPECT_TRUE(hasJoin(10));
}

TEST_F(TransitIntfSmReentry, AStatusReplacedWhileItIsReplacedIsTheOneFollowed) {
   redOn10();
   peg->pegVlanIs(20);
   peg->pegVlanIs(30);
   auto const second = statusNew("Vxlan1");
   second->vrfToSBDVlanIs("red", 20);
   auto const third = statusNew("Vxlan1", "10.3.3.3");
   third->vrfToSBDVlanIs("red", 30);
   when("- intf[Vlan10]", [&] { dir->vtiStatusIs(third); });
   dir->vtiStatusIs(second);
   EXPECT_EQ(addressOf(30), "10.3.3.3");
   EXPECT_EQ(status->subscribers() + second->subscribers(), 0u);
   EXPECT_EQ(third->subscribers(), 1u);
   EXPECT_EQ(sm->groupByAttr0().size(), 1u);
}

TEST_F(TransitIntfSmReentry, AStatusThatComesBackWhileItIsWithdrawnKeepsItsVrfs) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startQuietly();
   auto const next = statusNew("Vxlan1", "10.2.2.2");
   next->vrfToSBDVlanIs("red", 10);
   next->vrfToSBDVlanIs("blue", 20);
   bool const redFirst =
      sm->vtiStatusDirSm1()->vxlanChild()->remembered().begin()->key() ==
      L3::VrfName("red");
   when(redFirst ? "- vlan[10]" : "- vlan[20]", [&] { dir->vtiStatusIs(next); });
   dir->vtiStatusDel(vxlan1());
   EXPECT_EQ(addressOf(10), "10.2.2.2");
   EXPECT_EQ(addressOf(20), "10.2.2.2");
}

TEST_F(TransitIntfSmReentry, ALevelThatIsTakenOutEachTimeIsGivenUp) {
   startQuietly();
   transit("red");
   map("red", 10);
   int taken = 0;
   log.actionIs([&](std::string const& event) {
      if (event == "+ vlan[10]") {
         ++taken;
         joins->vlanDel(10);
      }
   });
   peg->pegVlanIs(10);
   EXPECT_GE(taken, 1);
   EXPECT_LE(taken, 2);
   EXPECT_FALSE(hasJoin(10));
   EXPECT_EQ(addressOf(10), kLocal);
   // The next evaluation of the VLAN, with nobody in its way, has it.
   log.actionIs(nullptr);
   peg->pegVlanDel(10);
   peg->pegVlanIs(10);
   EXPECT_TRUE(hasJoin(10));
   acted = 1;
}

TEST_F(TransitIntfSmReentry, AVrfThatComesWhileItsGroupIsAnnouncedSharesTheVlan) {
   startQuietly();
   transit("red");
   transit("blue");
   peg->pegVlanIs(10);
   NotificationRecorder groups(*sm);
   groups.actionIs([&] {
      groups.actionIs(nullptr);
      ++acted;
      map("blue", 10);
   });
   map("red", 10);
   EXPECT_THAT(outputs(), IsEmpty()) << "two VRFs share the VLAN";
}

TEST_F(TransitIntfSmReentry, AStatusReplacedInALiveDeleteAllIsFollowedStill) {
   redOn10();
   when("- intf[Vlan10]", [&] { dir->vtiStatusIs(statusNew("Vxlan1")); });
   sm->doDeleteAll();
   EXPECT_TRUE(sm->vtiStatusDirSm1()->vxlanChild() != nullptr);
}

TEST_F(TransitIntfSmReentry, AChangeDuringTheInsertionScanIsInTheOutputAtTheEnd) {
   transitOn("red", 10);
   transitOn("blue", 20);
   when("+ vlan[10]", [&] { peg->pegVlanDel(10); });
   start();
   EXPECT_FALSE(hasJoin(10));
   EXPECT_TRUE(hasJoin(20));
}

TEST_F(TransitIntfSmReentry, AChangeDuringTheDeletionScanBringsTheEntryBack) {
   transit("red");
   map("red", 10);
   coll->intfIs(Lidra::IntfId("Vlan10"), Lidra::IpAddr("1.2.3.4"));
   when("- intf[Vlan10]", [&] { peg->pegVlanIs(10); });
   start();
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitIntfSmReentry, TheHandlerCalledFromInsideItselfLeavesTheRestToTheFirst) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::UnlimitedShare>();
   sm = nullptr;
   coll->intfDelAll();
   log.take();
   when("+ intf[Vlan20]", [&] { sm->handleTransitIntfCollIntfOutputInputReady(); });
   startAsync<Kolm::PollShare>(1u);
   runUntilReady();
   EXPECT_EQ(coll->intf().size(), 2u);
}

} // namespace
