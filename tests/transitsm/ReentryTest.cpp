#include "support/TransitFixture.h"

namespace {

using namespace Support;
using testing::IsEmpty;

// Whoever is notified of an output changes an input from there.
class TransitSmReentry : public TransitTest {
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
      TransitTest::TearDown();
   }
   void redOn10() {
      transit("red");
      map("red", 10);
      startQuietly();
   }
   // A directory whose "Vxlan1" maps red to the VLAN.
   static Pelk::Ptr<Vxlan::VtiStatusDir> dirWithRedOn(uint16_t vlanId,
                                                      char const* local = kLocal) {
      auto const vxlan = statusNew("Vxlan1", local);
      vxlan->vrfToSBDVlanIs("red", vlanId);
      return dirOf({vxlan});
   }

   int acted = 0;
};

TEST_F(TransitSmReentry, AVrfConfiguredAgainWhileItsInterfaceGoesHasItsJoin) {
   redOn10();
   when("- intf[Vlan10]", [&] { transit("red"); });
   config->transitVrfDel("red");
   EXPECT_TRUE(hasJoin(10));
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitSmReentry, AVrfThatEndsWhileItsInterfaceComesHasNoJoin) {
   map("red", 10);
   startQuietly();
   when("+ intf[Vlan10]", [&] { config->transitVrfDel("red"); });
   transit("red");
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmReentry, AVrfThatEndsWhileItsJoinIsBuiltHasNone) {
   map("red", 10);
   startQuietly();
   when("+ vlan[10].group[0.0.0.0]", [&] { config->transitVrfDel("red"); });
   transit("red");
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmReentry, MlagState4FromInsideWithdrawsTheInterfaceThatJustCame) {
   map("red", 10);
   startQuietly();
   when("+ intf[Vlan10]", [&] { mlagIs(4); });
   transit("red");
   EXPECT_EQ(addressOf(10), "no interface");
   EXPECT_TRUE(hasJoin(10));
}

TEST_F(TransitSmReentry, LeavingMlagState4FromInsideBringsTheInterfaceBack) {
   redOn10();
   when("- intf[Vlan10]", [&] { mlagIs(3); });
   mlagIs(4);
   EXPECT_EQ(addressOf(10), kShared);
}

TEST_F(TransitSmReentry, AVrfThatMovesOnceMoreEndsOnItsLastVlan) {
   redOn10();
   when("- intf[Vlan10]", [&] { map("red", 30); });
   map("red", 20);
   EXPECT_EQ(addressOf(30), kLocal);
   EXPECT_EQ(sm->vrfToSbdVlan("red"), Bridging::VlanIdOrNone(30));
   EXPECT_FALSE(sm->sbdVlanToVrfHas(20));
   map("red", 40);
   EXPECT_EQ(addressOf(30), "no interface");
}

TEST_F(TransitSmReentry, AVrfThatMovesBackKeepsItsInterface) {
   redOn10();
   when("- intf[Vlan10]", [&] { map("red", 10); });
   map("red", 20);
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_TRUE(hasJoin(10));
}

TEST_F(TransitSmReentry, AMappingThatGoesWhileTheVrfMovesLeavesNothing) {
   redOn10();
   when("- intf[Vlan10]", [&] { status->vrfToSBDVlanDel("red"); });
   map("red", 20);
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
   EXPECT_TRUE(sm->sbdVlanToVrf().empty());
}

class TransitSmReentryAddress : public TransitSmReentry {
 protected:
   void manyVlans() {
      for (uint16_t vlanId = 10; vlanId < 20; ++vlanId) {
         auto const vrf = "vrf" + std::to_string(vlanId);
         transit(vrf.c_str());
         map(vrf.c_str(), vlanId);
      }
      startQuietly();
      auto const first = coll->intf().begin()->key().stringValue();
      atFirst = "intf[" + first + "].ipAddr = 10.1.1.1";
   }
   void expectAll(char const* addr) const {
      for (uint16_t vlanId = 10; vlanId < 20; ++vlanId) {
         EXPECT_EQ(addressOf(vlanId), addr);
      }
   }

   std::string atFirst;
};

TEST_F(TransitSmReentryAddress, TheLastOfTwoAddressesReachesEveryInterface) {
   manyVlans();
   when(atFirst, [&] { status->localVtepAddrIs(Lidra::IpAddr("10.2.2.2")); });
   status->localVtepAddrIs(Lidra::IpAddr("10.1.1.1"));
   expectAll("10.2.2.2");
}

TEST_F(TransitSmReentryAddress, TheMlagStateOfNowReachesEveryInterface) {
   manyVlans();
   when(atFirst, [&] { mlagIs(3); });
   status->localVtepAddrIs(Lidra::IpAddr("10.1.1.1"));
   expectAll(kShared);
}

TEST_F(TransitSmReentryAddress, InterfacesWithdrawnMeanwhileStayAway) {
   manyVlans();
   when(atFirst, [&] { mlagIs(4); });
   status->localVtepAddrIs(Lidra::IpAddr("10.1.1.1"));
   expectAll("no interface");
}

TEST_F(TransitSmReentry, AStatusThatLeavesTheDirectoryFromItsOwnNotificationIsLetGo) {
   redOn10();
   when("- intf[Vlan10]", [&] { dir->vtiStatusDel(vxlan1()); });
   map("red", 20);
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_EQ(status->subscribers(), 0u);
}

TEST_F(TransitSmReentry, ADirectoryReplacedWhileOneIsReplacedIsTheOneFollowed) {
   redOn10();
   auto const second = dirWithRedOn(20);
   auto const third = dirWithRedOn(30, "10.3.3.3");
   second->vtiStatusIs(statusNew("Vxlan2"));
   second->vtiStatusIs(statusNew("Vxlan3"));
   third->vtiStatusIs(statusNew("Vxlan3"));
   when("- intf[Vlan10]", [&] { dirIs(third); });
   auto const third1 = third->vtiStatus(vxlan1());
   sm->vtiStatusDirIs(second);
   EXPECT_EQ(sm->vtiStatusDir(), third);
   EXPECT_EQ(addressOf(30), "10.3.3.3");
   EXPECT_EQ(second->subscribers(), 0u);
   for (auto const& entry : second->vtiStatus()) {
      EXPECT_EQ(entry.value()->subscribers(), 0u) << entry.key().stringValue();
   }
   EXPECT_EQ(third->subscribers(), 1u);
   for (auto const& entry : third->vtiStatus()) {
      EXPECT_EQ(entry.value()->subscribers(), 1u) << entry.key().stringValue();
   }
   third1->vrfToSBDVlanIs("red", 40);
   EXPECT_EQ(addressOf(40), "10.3.3.3");
}

TEST_F(TransitSmReentry, AnEntryThatOnlyTheLastDirectoryKeepsStaysFollowed) {
   dir->vtiStatusIs(statusNew("Vxlan2"));
   redOn10();
   // The second lacks Vxlan2; the first and the third have it.
   auto const second = dirWithRedOn(20);
   auto const third = dirOf({statusNew("Vxlan2")});
   auto const kept = third->vtiStatus(Lidra::IntfId("Vxlan2"));
   when("- intf[Vlan10]", [&] { dirIs(third); });
   sm->vtiStatusDirIs(second);
   EXPECT_EQ(kept->subscribers(), 1u);
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmReentry, AStatusReplacedWhileItIsReplacedIsTheOneFollowed) {
   redOn10();
   auto const second = statusNew("Vxlan1");
   second->vrfToSBDVlanIs("red", 20);
   auto const third = statusNew("Vxlan1", "10.3.3.3");
   third->vrfToSBDVlanIs("red", 30);
   when("- intf[Vlan10]", [&] { dir->vtiStatusIs(third); });
   dir->vtiStatusIs(second);
   EXPECT_EQ(addressOf(30), "10.3.3.3");
   EXPECT_EQ(status->subscribers() + second->subscribers(), 0u);
   EXPECT_EQ(third->subscribers(), 1u);
}

TEST_F(TransitSmReentry, EveryStatusOfTheNewDirectoryIsFollowedBeforeTheFirstHandler) {
   redOn10();
   auto const second = dirWithRedOn(20);
   auto const other = statusNew("Vxlan2");
   other->vrfToSBDVlanIs("red", 1);
   second->vtiStatusIs(other);
   // Whichever status comes first, both are heard.
   when("- intf[Vlan10]", [&] {
      EXPECT_EQ(second->vtiStatus(vxlan1())->subscribers(), 1u);
      EXPECT_EQ(other->subscribers(), 1u);
      second->vtiStatus(vxlan1())->vrfToSBDVlanDel("red");
   });
   dirIs(second);
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
}

// Two VRFs leave VLAN 10 at once: whichever is handled first prunes the other too.
class TransitSmReentryPruned : public TransitSmReentry {
 protected:
   TransitSmReentryPruned() {
      for (auto const* vrf : {"red", "blue"}) {
         transit(vrf);
         map(vrf, 10);
      }
      startQuietly();
      next->vrfToSBDVlanIs("red", 20);
      next->vrfToSBDVlanIs("blue", 30);
   }

   Pelk::Ptr<Vxlan::VtiStatus> next = statusNew("Vxlan1");
};

TEST_F(TransitSmReentryPruned, AVrfThatIsMappedBackAfterItWasPrunedIsRecordedAgain) {
   bool const redFirst = next->vrfToSBDVlan().begin()->key() == L3::VrfName("red");
   char const* const other = redFirst ? "blue" : "red";
   when(redFirst ? "+ intf[Vlan20]" : "+ intf[Vlan30]",
        [&] { next->vrfToSBDVlanIs(other, 10); });
   dir->vtiStatusIs(next);
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_TRUE(sm->sbdVlanToVrf(10)->vrfHas(other));
}

TEST_F(TransitSmReentryPruned, AVrfThatIsMappedBackWhileTheInterfaceGoesBringsItBack) {
   when("- intf[Vlan10]", [&] { next->vrfToSBDVlanIs("blue", 10); });
   dir->vtiStatusIs(next);
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_TRUE(sm->sbdVlanToVrf(10)->vrfHas("blue"));
}

TEST_F(TransitSmReentry, AVrfMappedBackInsideTheHostsOwnCallIsRecordedAgain) {
   for (auto const* vrf : {"red", "blue"}) {
      transit(vrf);
      map(vrf, 10);
   }
   log.follow(*status, "status."); // before the reactor, which hears of it later
   start();
   log.actionIs([this](std::string const& event) {
      if (event == "+ status.vrfToSBDVlan[red]" && acted == 0) {
         ++acted;
         map("blue", 30);
      } else if (event == "+ status.vrfToSBDVlan[blue]") {
         sm->handleVrfToSBDVlan("blue"); // prunes red, which left VLAN 10 too
      } else if (event == "+ intf[Vlan30]") {
         EXPECT_FALSE(sm->sbdVlanToVrfHas(10));
         map("red", 10);
      }
   });
   map("red", 20);
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_EQ(addressOf(20), "no interface");
   EXPECT_EQ(addressOf(30), kLocal);
   ASSERT_TRUE(sm->sbdVlanToVrfHas(10));
   EXPECT_TRUE(sm->sbdVlanToVrf(10)->vrfHas("red"));
}

// The status that is there now does not map it yet when its VLAN is decided, and does
// when the walk of the mappings comes to it.
TEST_F(TransitSmReentry, AVrfMappedBackAfterItsVlanWasDecidedWithoutItBringsItBack) {
   auto const vrfOn = [](uint16_t vlanId) {
      return L3::VrfName("vrf" + std::to_string(vlanId));
   };
   for (uint16_t vlanId = 10; vlanId < 20; ++vlanId) {
      config->transitVrfIs(vrfOn(vlanId));
      status->vrfToSBDVlanIs(vrfOn(vlanId), vlanId);
   }
   startQuietly();
   auto const next = statusNew("Vxlan1");
   uint16_t other = 0; // not the first that the walk comes to
   log.actionIs([&](std::string const& event) {
      log.actionIs(nullptr);
      ++acted;
      other = event == "- intf[Vlan10]" ? 11 : 10;
      config->transitVrfDel(vrfOn(other));
      config->transitVrfIs(vrfOn(other));
      EXPECT_FALSE(hasJoin(other));
      next->vrfToSBDVlanIs(vrfOn(other), other);
   });
   dir->vtiStatusIs(next);
   EXPECT_TRUE(hasJoin(other));
   EXPECT_EQ(addressOf(other), kLocal);
}

TEST_F(TransitSmReentry, TheDirectoryTakenAwayFromInsideLeavesNothing) {
   map("red", 10);
   startQuietly();
   when("+ intf[Vlan10]", [&] { dirIs(nullptr); });
   transit("red");
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_EQ(status->subscribers(), 0u);
}

} // namespace
