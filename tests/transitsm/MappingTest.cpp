#include "support/DeathMessages.h"
#include "support/TransitFixture.h"
#include "zin/RangeException.h"

namespace {

using namespace Support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class TransitSmMapping : public TransitTest {
 protected:
   Events recordedOn(uint16_t vlanId) const {
      Events vrfs;
      if (auto const recorded = sm->sbdVlanToVrf(vlanId)) {
         for (auto const& entry : recorded->vrf()) {
            vrfs.emplace_back(entry.key().view());
         }
         if (vrfs.empty()) {
            vrfs.emplace_back("an entry without a VRF");
         }
      }
      return vrfs;
   }
};

TEST_F(TransitSmMapping, AMovedVrfHasItsOldVlanEvaluatedFirstThenItsNewOne) {
   transit("red");
   map("red", 10);
   startQuietly();
   log.follow(*sm, "sm.");
   map("red", 20);
   EXPECT_THAT(log.take(),
               ElementsAreArray(
                  then({vlanChanged("red")}, endsTransit(10),
                       Events{"- sm.sbdVlanToVrf[10].vrf[red]", "- sm.sbdVlanToVrf[10]",
                              "+ sm.vrfToSbdVlan[red]", "+ sm.sbdVlanToVrf[20]",
                              "+ sm.sbdVlanToVrf[20].vrf[red]"},
                       becomesTransit(20, "red", kLocal))));
   EXPECT_EQ(sm->vrfToSbdVlan("red"), Bridging::VlanIdOrNone(20));
   EXPECT_FALSE(sm->sbdVlanToVrfHas(10));
   EXPECT_THAT(recordedOn(20), ElementsAre("red"));
}

TEST_F(TransitSmMapping, TheOldVlanKeepsItsInterfaceThroughAnotherTransitVrf) {
   for (auto const* vrf : {"red", "blue"}) {
      transit(vrf);
      map(vrf, 10);
   }
   startQuietly();
   map("red", 20);
   EXPECT_THAT(log.take(), ElementsAreArray(then({vlanChanged("red")},
                                                 staysTransit(10, "blue", kLocal),
                                                 becomesTransit(20, "red", kLocal))));
   EXPECT_THAT(recordedOn(10), ElementsAre("blue"));
}

TEST_F(TransitSmMapping, TheVrfStillStandsInTheOldVlansSetWhenThatIsEvaluated) {
   transit("red");
   map("red", 10);
   startQuietly();
   bool stood = false;
   log.actionIs([&](std::string const& text) {
      if (text == "- intf[Vlan10]") {
         stood = sm->sbdVlanToVrf(10)->vrfHas("red") &&
                 sm->vrfToSbdVlan("red") == Bridging::VlanIdOrNone(10);
      }
   });
   map("red", 20);
   EXPECT_TRUE(stood);
}

TEST_F(TransitSmMapping, AMappingThatGoesTakesTheVrfsEntryAndMakesNothing) {
   transit("red");
   map("red", 10);
   startQuietly();
   log.follow(*sm, "sm.");
   status->vrfToSBDVlanDel("red");
   EXPECT_THAT(log.take(),
               ElementsAreArray(
                  then({vlanChanged("red")}, endsTransit(10),
                       Events{"- sm.sbdVlanToVrf[10].vrf[red]", "- sm.sbdVlanToVrf[10]",
                              "- sm.vrfToSbdVlan[red]"})));
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
   EXPECT_TRUE(sm->sbdVlanToVrf().empty());
   EXPECT_EQ(sm->vrfToSbdVlan("red"), Bridging::VlanIdOrNone());
}

TEST_F(TransitSmMapping, AMappingToVlanZeroIsNone) {
   transit("red");
   map("red", 10);
   startQuietly();
   map("red", 0);
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged("red")}, endsTransit(10))));
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
   map("blue", 0);
   EXPECT_THAT(log.take(), ElementsAre(vlanChanged("blue")));
}

TEST_F(TransitSmMapping, ARepeatedMappingDoesNothingNotEvenAnEvaluation) {
   transit("red");
   map("red", 10);
   startQuietly();
   log.follow(*sm, "sm.");
   map("red", 10);
   EXPECT_THAT(log.take(), ElementsAre(vlanChanged("red")));
}

TEST_F(TransitSmMapping, ATransitVrfWaitsForItsMapping) {
   startQuietly();
   transit("red");
   EXPECT_THAT(log.take(), ElementsAre(transitVrfChanged("red")));
   map("red", 10);
   EXPECT_THAT(log.take(), ElementsAreArray(then({vlanChanged("red")},
                                                 becomesTransit(10, "red", kLocal))));
}

TEST_F(TransitSmMapping, AConfigurationChangeReadsTheRecordedVlanNotTheStatus) {
   startQuietly();
   sm->vrfToSbdVlanIs("red", 30);
   sm->sbdVlanToVrfIs(30)->vrfIs("red");
   transit("red");
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({transitVrfChanged("red")}, noTransit(30))));
   sm->vrfToSbdVlanIs("blue", 0);
   transit("blue");
   EXPECT_THAT(log.take(), ElementsAre(transitVrfChanged("blue")));
}

TEST_F(TransitSmMapping, PruningTakesEveryStaleMemberAndNoOther) {
   for (auto const* vrf : {"red", "stays", "moved", "gone", "none"}) {
      map(vrf, 10);
   }
   startQuietly();
   // The host's own entry, and VRFs whose change the reactor is not told of in time.
   auto const next = statusNew("Vxlan1");
   next->vrfToSBDVlanIs("red", 20);
   next->vrfToSBDVlanIs("stays", 10);
   next->vrfToSBDVlanIs("moved", 30);
   next->vrfToSBDVlanIs("none", 0);
   bool pruned = false;
   log.follow(*sm, "sm.");
   log.actionIs([&](std::string const& text) {
      if (!pruned && text.starts_with("+ sm.vrfToSbdVlan[")) {
         pruned = true;
         EXPECT_THAT(recordedOn(10), ElementsAre("stays"));
      } else if (!pruned && text.starts_with("- sm.vrfToSbdVlan[")) {
         pruned = true;
         EXPECT_THAT(recordedOn(10), ElementsAre("stays"));
      }
   });
   dir->vtiStatusIs(next);
   EXPECT_TRUE(pruned);
   EXPECT_THAT(recordedOn(10), ElementsAre("stays"));
   EXPECT_THAT(recordedOn(20), ElementsAre("red"));
   EXPECT_THAT(recordedOn(30), ElementsAre("moved"));
   EXPECT_EQ(sm->vrfToSbdVlan().size(), 3u);
   status = next;
}

TEST_F(TransitSmMapping, WithoutTheVxlanStatusPruningEmptiesTheSet) {
   transit("red");
   map("red", 10);
   map("blue", 10);
   startQuietly();
   dir->vtiStatusDel(vxlan1());
   EXPECT_FALSE(sm->sbdVlanToVrfHas(10));
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmMapping, TwoVrfsThatSwapTheirVlansKeepBoth) {
   for (auto const* vrf : {"red", "blue"}) {
      transit(vrf);
   }
   map("red", 10);
   map("blue", 20);
   startQuietly();
   auto const next = statusNew("Vxlan1");
   next->vrfToSBDVlanIs("red", 20);
   next->vrfToSBDVlanIs("blue", 10);
   dir->vtiStatusIs(next);
   EXPECT_THAT(recordedOn(10), ElementsAre("blue"));
   EXPECT_THAT(recordedOn(20), ElementsAre("red"));
}

TEST_F(TransitSmMapping, ANewVlanOutOfRangeIsRecordedBeforeItRaises) {
   transit("red");
   map("red", 10);
   startQuietly();
   auto const hidden = dirOf({statusNew("Vxlan1")});
   hidden->vtiStatus(vxlan1())->vrfToSBDVlanIs("red", 4095);
   EXPECT_THROW(dirIs(hidden), Zin::RangeException);
   EXPECT_EQ(sm->vrfToSbdVlan("red"), Bridging::VlanIdOrNone(4095));
   EXPECT_FALSE(sm->sbdVlanToVrfHas(10));
   EXPECT_THAT(recordedOn(10), IsEmpty());
   EXPECT_THROW(sm->handleTransitVrf("red"), Zin::RangeException);
   log.take();

   hidden->vtiStatus(vxlan1())->vrfToSBDVlanIs("red", 4095);
   EXPECT_THAT(log.take(), ElementsAre(vlanChanged("red"))) << "the same as recorded";
   EXPECT_DEATH(
      hidden->vtiStatus(vxlan1())->vrfToSBDVlanIs("red", 10),
      escapedExceptionMessage("Bridging::VlanId::value < 1 or > 4094 not allowed"));
   sm->vrfToSbdVlanDelAll();
   hidden->vtiStatus(vxlan1())->vrfToSBDVlanIs("red", 10);
}

TEST_F(TransitSmMapping, AnExceptionOutOfANotificationEndsTheProcessWithItsMessage) {
   startQuietly();
   EXPECT_DEATH(
      map("red", 4095),
      escapedExceptionMessage("Bridging::VlanId::value < 1 or > 4094 not allowed"));
}

TEST_F(TransitSmMapping, AnEntryThatSomebodyKeepsIsNotThatOfTheNextVlan) {
   map("red", 10);
   startQuietly();
   auto const kept = sm->sbdVlanToVrf(10);
   map("red", 20);
   EXPECT_NE(sm->sbdVlanToVrf(20), kept);
   EXPECT_EQ(kept->vlanId(), Bridging::VlanId(10));
   EXPECT_TRUE(kept->vrf().empty());
}

TEST_F(TransitSmMapping, AnEntryRemovedWithItsVrfsLeavesThemToNoOther) {
   startQuietly();
   sm->sbdVlanToVrfIs(5)->vrfIs("red");
   sm->sbdVlanToVrfDel(5);
   EXPECT_TRUE(sm->sbdVlanToVrfIs(6)->vrf().empty());
   EXPECT_EQ(sm->sbdVlanToVrf(6)->vlanId(), Bridging::VlanId(6));
}

TEST_F(TransitSmMapping, TablesTakeTheOrdinaryOperations) {
   startQuietly();
   log.follow(*sm, "sm.");
   auto const entry = sm->sbdVlanToVrfIs(5);
   EXPECT_EQ(sm->sbdVlanToVrfIs(5), entry);
   EXPECT_EQ(entry->vlanId(), Bridging::VlanId(5));
   entry->vrfIs("red");
   entry->vrfIs("red");
   entry->vrfIs("blue");
   entry->vrfDel("green");
   entry->vrfDelAll();
   EXPECT_FALSE(entry->vrfHas("red"));
   sm->vrfToSbdVlanIs("red", 5);
   sm->vrfToSbdVlanIs("red", 6);
   sm->vrfToSbdVlanDel("green");
   sm->vrfToSbdVlanDelAll();
   sm->sbdVlanToVrfDel(6);
   sm->sbdVlanToVrfDelAll();
   EXPECT_EQ(sm->sbdVlanToVrf(5), nullptr);
   auto events = log.take();
   std::sort(events.begin() + 3, events.begin() + 5);
   EXPECT_THAT(events,
               ElementsAre("+ sm.sbdVlanToVrf[5]", "+ sm.sbdVlanToVrf[5].vrf[red]",
                           "+ sm.sbdVlanToVrf[5].vrf[blue]",
                           "- sm.sbdVlanToVrf[5].vrf[blue]",
                           "- sm.sbdVlanToVrf[5].vrf[red]", "+ sm.vrfToSbdVlan[red]",
                           "+ sm.vrfToSbdVlan[red]", "- sm.vrfToSbdVlan[red]",
                           "- sm.sbdVlanToVrf[5]"));
}

} // namespace
