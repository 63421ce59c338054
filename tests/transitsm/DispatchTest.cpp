#include "support/TransitFixture.h"

namespace {

using namespace Support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class TransitSmDispatch : public TransitTest {
 protected:
   void redOn10() {
      transit("red");
      map("red", 10);
      startQuietly();
   }
};

TEST_F(TransitSmDispatch, AConfiguredVrfBringsItsInterfaceThenItsJoin) {
   map("red", 10);
   startQuietly();
   transit("red");
   EXPECT_THAT(log.take(), ElementsAreArray(then({transitVrfChanged("red")},
                                                 becomesTransit(10, "red", kLocal))));
   config->transitVrfDel("red");
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({transitVrfChanged("red")}, endsTransit(10))));
}

TEST_F(TransitSmDispatch, TheConfigurationsForwarderOnlyHandlesTheVrf) {
   redOn10();
   sm->zin_handleMcastEvpnConfig_transitVrf("red");
   EXPECT_THAT(log.take(), ElementsAreArray(then({transitVrfChanged("red")},
                                                 staysTransit(10, "red", kLocal))));
}

TEST_F(TransitSmDispatch, NotificationsOfOtherAttributesAreIgnored) {
   redOn10();
   for (int16_t id = 0; id < 400; ++id) {
      if (id != Vxlan::VtiStatusDir::kVtiStatus) { // also the others' only attribute
         config->publishChangeRecursive(id);
         mlag->publishChangeRecursive(id);
         dir->publishChangeRecursive(id);
      }
      if (id < Vxlan::VtiStatus::kLocalVtepAddr ||
          id > Vxlan::VtiStatus::kVrfToSBDVlan) {
         status->publishChangeRecursive(id);
      }
   }
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitSmDispatch, AnAddressChangeRewritesEveryInterfaceWithOneChoice) {
   redOn10();
   transit("blue");
   map("blue", 20);
   log.take();
   status->localVtepAddrIs(Lidra::IpAddr("10.0.0.2"));
   auto const events = log.take();
   ASSERT_EQ(events.size(), 4u);
   EXPECT_EQ(events[0], addressChanged());
   EXPECT_EQ(events[1], choosing("10.0.0.2"));
   EXPECT_THAT((Events{events[2], events[3]}),
               testing::UnorderedElementsAre("intf[Vlan10].ipAddr = 10.0.0.2",
                                             "intf[Vlan20].ipAddr = 10.0.0.2"));
}

TEST_F(TransitSmDispatch, AChangeOfTheSharedAddressOutsideState3KeepsTheLocalOne) {
   redOn10();
   status->mlagVtepAddrIs(Lidra::IpAddr("10.0.0.98"));
   EXPECT_THAT(log.take(), ElementsAre(addressChanged(), choosing(kLocal)));
}

TEST_F(TransitSmDispatch, AnAddressChangeCreatesAndRemovesNothing) {
   redOn10();
   coll->intfDel(Lidra::IntfId("Vlan10"));
   coll->intfIs(Lidra::IntfId("Vlan77"), Lidra::IpAddr("1.2.3.4"));
   log.take();
   status->localVtepAddrIs(Lidra::IpAddr("10.0.0.2"));
   EXPECT_THAT(log.take(), ElementsAre(addressChanged(), choosing("10.0.0.2"),
                                       "intf[Vlan77].ipAddr = 10.0.0.2"));
   excuse("intf Vlan10", Path::kTakenAway);
   excuse("intf Vlan77", Path::kForeignEntry);
}

TEST_F(TransitSmDispatch, WithoutTheVxlanStatusTheAddressIsEmpty) {
   redOn10();
   dir->vtiStatusDel(vxlan1());
   log.take();
   EXPECT_EQ(sm->vtepAddr(), Lidra::IpGenAddr());
   EXPECT_THAT(log.take(), IsEmpty());
   sm->updateTransitIntf(10, true);
   EXPECT_EQ(addressOf(10), "0.0.0.0");
   coll->intfIs(Lidra::IntfId("Vlan77"), Lidra::IpAddr("1.2.3.4"));
   sm->handleVtepAddr();
   EXPECT_EQ(addressOf(77), "0.0.0.0");
   excuse("intf Vlan10", Path::kOnlyChanged);
   excuse("join 10", Path::kOnlyChanged);
   excuse("intf Vlan77", Path::kForeignEntry);
}

TEST_F(TransitSmDispatch, AStatusThatIsAddedRunsItsVrfsAndTheAddressTwice) {
   dir = dirOf({});
   transit("red");
   startQuietly();
   map("red", 10);
   dir->vtiStatusIs(status);
   EXPECT_THAT(log.take(), ElementsAreArray(then(
                              {vlanChanged("red")}, becomesTransit(10, "red", kLocal),
                              Events{addressChanged(), choosing(kLocal),
                                     addressChanged(), choosing(kLocal)})));
}

TEST_F(TransitSmDispatch, AStatusThatIsReplacedHandlesWhatItLacksAndThenAllItHas) {
   redOn10();
   auto const next = statusNew("Vxlan1", "10.0.0.2");
   next->vrfToSBDVlanIs("blue", 20);
   dir->vtiStatusIs(next);
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged("red")}, endsTransit(10),
                                     Events{vlanChanged("blue")}, noTransit(20),
                                     Events{addressChanged(), choosing("10.0.0.2"),
                                            addressChanged(), choosing("10.0.0.2")})));
   EXPECT_EQ(status->subscribers(), 0u);
   EXPECT_EQ(next->subscribers(), 1u);
   map("red", 30);
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitSmDispatch, AStatusThatIsPutAgainIsHandledAgainAndFollowedOnce) {
   redOn10();
   dir->vtiStatusIs(status);
   EXPECT_THAT(log.take(),
               ElementsAre(vlanChanged("red"), addressChanged(), choosing(kLocal),
                           addressChanged(), choosing(kLocal)));
   EXPECT_EQ(status->subscribers(), 1u);
}

TEST_F(TransitSmDispatch, AStatusThatIsRemovedEvaluatesEachOfItsVrfs) {
   redOn10();
   dir->vtiStatusDel(vxlan1());
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged("red")}, endsTransit(10),
                                     Events{addressChanged(), addressChanged()})));
   EXPECT_EQ(status->subscribers(), 0u);
}

TEST_F(TransitSmDispatch, AReplacedDirectoryIsStoredFirstAndRunsEachEntryOnce) {
   redOn10();
   auto const next = statusNew("Vxlan1", "10.0.0.2");
   next->vrfToSBDVlanIs("red", 20);
   auto const newDir = dirOf({next});
   auto const oldDir = dir;
   log.actionIs([&](std::string const&) { EXPECT_EQ(sm->vtiStatusDir(), newDir); });
   dirIs(newDir);
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged("red")}, endsTransit(10),
                                     becomesTransit(20, "red", "10.0.0.2"),
                                     Events{addressChanged(), choosing("10.0.0.2")})));
   EXPECT_EQ(oldDir->subscribers() + status->subscribers(), 0u);
   EXPECT_EQ(newDir->subscribers(), 1u);
   dirIs(newDir);
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitSmDispatch, ADirectoryThatLacksAnOldEntryReevaluatesItsVrfsLast) {
   auto const other = statusNew("Vxlan2");
   other->vrfToSBDVlanIs("green", 5);
   dir->vtiStatusIs(other);
   redOn10();
   auto const next = statusNew("Vxlan1");
   next->vrfToSBDVlanIs("red", 10);
   dirIs(dirOf({next}));
   EXPECT_THAT(log.take(),
               ElementsAre(vlanChanged("red"), addressChanged(), choosing(kLocal),
                           vlanChanged("green"), addressChanged(), choosing(kLocal)));
   EXPECT_EQ(other->subscribers(), 0u);
   dirIs(nullptr);
   EXPECT_THAT(log.take(), ElementsAreArray(then({vlanChanged("red")}, endsTransit(10),
                                                 Events{addressChanged()})));
}

// --- the last use is dropped by who is notified ---

class TransitSmDropped : public TransitSmDispatch {
 protected:
   // Two VRFs on VLANs of their own, and a drop at the next notification of an output.
   void twoVlansThenDrop() {
      transit("red");
      transit("blue");
      map("red", 10);
      map("blue", 20);
      startQuietly();
      dropAtNext();
   }
   void dropAtNext() {
      log.actionIs([this](std::string const&) {
         sm = nullptr;
         ++drops;
      });
   }
   void TearDown() override {
      EXPECT_GE(drops, 1);
      EXPECT_EQ(sm, nullptr);
      EXPECT_EQ(subscribers(), 0u);
      EXPECT_EQ(config->useCount() + mlag->useCount(), 2u);
      TransitTest::TearDown();
   }
   static size_t count(Events const& events, std::string const& text) {
      return static_cast<size_t>(std::count(events.begin(), events.end(), text));
   }

   int drops = 0;
};

TEST_F(TransitSmDropped, FromAConfigurationChangeTheHandlerEndsItsWork) {
   map("red", 10);
   startQuietly();
   dropAtNext();
   transit("red");
   EXPECT_THAT(complaints(referenceOf(), outputs()), IsEmpty());
}

TEST_F(TransitSmDropped, FromAnMlagChangeTheHandlerEndsItsWork) {
   twoVlansThenDrop();
   mlagIs(4);
   EXPECT_THAT(complaints(referenceOf(), outputs()), IsEmpty());
}

TEST_F(TransitSmDropped, FromAMappingChangeTheHandlerEndsItsWork) {
   twoVlansThenDrop();
   map("red", 30);
   EXPECT_THAT(complaints(referenceOf(), outputs()), IsEmpty());
}

TEST_F(TransitSmDropped, FromAnAddressChangeTheHandlerEndsItsWork) {
   twoVlansThenDrop();
   status->localVtepAddrIs(Lidra::IpAddr("10.0.0.2"));
   EXPECT_THAT(complaints(referenceOf(), outputs()), IsEmpty());
}

TEST_F(TransitSmDropped, FromAStatusChangeNoFurtherHandlerIsCalled) {
   twoVlansThenDrop();
   auto const first = std::string(status->vrfToSBDVlan().begin()->key().view());
   dir->vtiStatusDel(vxlan1());
   auto const vlan = first == "red" ? uint16_t{10} : uint16_t{20};
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged(first.c_str())}, endsTransit(vlan))));
   auto const left = static_cast<uint16_t>(30 - vlan);
   EXPECT_THAT(complaints({}, outputs(),
                          {{intfKey("Vlan" + std::to_string(left)), Path::kDropped},
                           {joinKey(left), Path::kDropped}}),
               IsEmpty());
}

TEST_F(TransitSmDropped, FromAReplacedDirectoryNoFurtherEntryIsHandled) {
   twoVlansThenDrop();
   auto const first = std::string(status->vrfToSBDVlan().begin()->key().view());
   sm->vtiStatusDirIs(nullptr);
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged(first.c_str())},
                                     endsTransit(first == "red" ? 10 : 20))));
   EXPECT_EQ(outputs().size(), 2u);
}

TEST_F(TransitSmDropped, AnAddressDropStopsBeforeTheSecondAddressCall) {
   twoVlansThenDrop();
   auto const next = statusNew("Vxlan1", "10.0.0.2");
   next->vrfToSBDVlanIs("red", 10);
   next->vrfToSBDVlanIs("blue", 20);
   dir->vtiStatusIs(next);
   EXPECT_EQ(count(log.take(), addressChanged()), 1u);
   EXPECT_THAT(complaints(referenceOf(), outputs()), IsEmpty());
}

TEST_F(TransitSmDropped, TheInputsMayGoWithIt) {
   map("red", 10);
   startQuietly();
   log.actionIs([this](std::string const&) {
      sm = nullptr;
      status = statusNew("Vxlan1");
      dir = dirOf({status});
      ++drops;
   });
   auto* const last = config.get();
   last->transitVrfIs("red");
   EXPECT_EQ(outputs().size(), 2u);
}

TEST_F(TransitSmDropped, AnotherUserKeepsItWorking) {
   twoVlansThenDrop();
   auto keeper = sm;
   dir->vtiStatusDel(vxlan1());
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_EQ(keeper->useCount(), 1u);
   keeper = nullptr;
}

} // namespace
