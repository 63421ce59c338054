#include "support/DataflowFixture.h"

namespace {

using namespace Support;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char const* kJoin = "(0.0.0.0, 0.0.0.0) include Null0";

class TransitIntfSmVlan : public DataflowTest {
 protected:
   void redOn10() {
      transitOn("red", 10);
      startQuietly();
   }
};

TEST_F(TransitIntfSmVlan, ATransitVrfAloneOnItsPegVlanHasInterfaceAndJoin) {
   startQuietly();
   transitOn("red", 10);
   EXPECT_THAT(log.takeNotified(), ElementsAreArray(made(10, kLocal)));
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_EQ(outputs().at("join 10"), kJoin);
}

TEST_F(TransitIntfSmVlan, MlagState3AnnouncesTheSharedAddressInPlace) {
   redOn10();
   mlagIs(3);
   EXPECT_THAT(log.takeNotified(), ElementsAre("intf[Vlan10].ipAddr = 10.0.0.99"));
   mlagIs(1);
   EXPECT_THAT(log.takeNotified(), ElementsAre("intf[Vlan10].ipAddr = 10.0.0.1"));
}

TEST_F(TransitIntfSmVlan, MlagState4WithdrawsTheInterfaceAndKeepsTheJoin) {
   redOn10();
   mlagIs(4);
   EXPECT_THAT(log.takeNotified(), ElementsAre("- intf[Vlan10]"));
   EXPECT_EQ(outputs().at("join 10"), kJoin);
   mlagIs(0);
   EXPECT_THAT(log.takeNotified(), ElementsAre("+ intf[Vlan10]"));
}

TEST_F(TransitIntfSmVlan, AnAddressChangeReachesOnlyTheStateThatUsesIt) {
   redOn10();
   status->mlagVtepAddrIs(Lidra::IpAddr("10.0.0.98"));
   EXPECT_THAT(log.takeNotified(), IsEmpty());
   status->localVtepAddrIs(Lidra::IpAddr("10.0.0.2"));
   EXPECT_THAT(log.takeNotified(), ElementsAre("intf[Vlan10].ipAddr = 10.0.0.2"));
   mlagIs(3);
   EXPECT_EQ(addressOf(10), "10.0.0.98");
}

TEST_F(TransitIntfSmVlan, ASecondVrfOnTheVlanEndsItAndItsLeaveRestoresIt) {
   redOn10();
   map("blue", 10);
   EXPECT_THAT(log.takeNotified(), ElementsAreArray(gone(10)));
   status->vrfToSBDVlanDel("blue");
   EXPECT_THAT(log.takeNotified(), ElementsAreArray(made(10, kLocal)));
   map("blue", 10);
   map("red", 20);
   EXPECT_THAT(outputs(), IsEmpty()); // blue is no transit VRF
   transit("blue");
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitIntfSmVlan, APegVlanThatGoesTakesBothAndBringsThemBack) {
   redOn10();
   peg->pegVlanDel(10);
   EXPECT_THAT(log.takeNotified(), ElementsAreArray(gone(10)));
   peg->pegVlanIs(10);
   EXPECT_THAT(log.takeNotified(), ElementsAreArray(made(10, kLocal)));
}

TEST_F(TransitIntfSmVlan, AVrfThatIsConfiguredNoMoreStaysInItsGroup) {
   redOn10();
   config->transitVrfDel("red");
   auto const said = log.take();
   EXPECT_THAT(said, Contains("4 eventToTransitVlanStream: transit vlan: 10 for VRF: "
                              "red enabled: false"));
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_TRUE(sm->groupByAttr0(10)->collHas("red"));
}

TEST_F(TransitIntfSmVlan, TheGroupsOnlyMemberDecidesNotTheVrfOfTheEvent) {
   redOn10();
   map("blue", 10);
   log.take();
   status->vrfToSBDVlanDel("blue");
   EXPECT_THAT(log.take(), Contains("4 eventToTransitVlanStream: transit vlan: 10 for "
                                    "VRF: blue enabled: true"));
}

TEST_F(TransitIntfSmVlan, ADeletionWithoutAGroupMakesOneAndRemovesIt) {
   startQuietly();
   EventLog own("4");
   own.follow(*sm);
   sm->eventToTransitVlanStream(10, "red", false);
   EXPECT_THAT(own.take(),
               ElementsAre("+ groupByAttr0[10]", "- groupByAttr0[10]",
                           "4 eventToTransitVlanStream: transit vlan: 10 for VRF: red "
                           "enabled: false"));
   EXPECT_TRUE(sm->groupByAttr0().empty());
}

TEST_F(TransitIntfSmVlan, EveryCallDeletesRouterAndExcludeAlsoWhenEnabled) {
   redOn10();
   auto const vlan = joins->vlan(10);
   vlan->routerIntfIs(null0());
   auto const any = Lidra::IpGenAddr();
   vlan->group(any)->source(any)->excludeIntfIs(null0());
   for (auto const* levels : {"all", "0"}) {
      Pelk::Trace::levelsIs(Pelk::TraceLevels::fromText(levels));
      vlan->routerIntfIs(null0());
      vlan->group(any)->source(any)->excludeIntfIs(null0());
      transit("blue");
      log.take();
      map("red", 10);
      EXPECT_THAT(
         log.takeNotified(),
         ElementsAre("- vlan[10].routerIntf[Null0]",
                     "- vlan[10].group[0.0.0.0].source[0.0.0.0].excludeIntf[Null0]"))
         << levels;
   }
}

TEST_F(TransitIntfSmVlan, SaysItsOperationsInTheOrderOfTheSinks) {
   startQuietly();
   transitOn("red", 10);
   log.take();
   map("red", 10);
   auto const said = log.takeTraced();
   Events const sinks(said.end() - 4, said.end());
   EXPECT_THAT(
      sinks,
      ElementsAre(
         "9 eventToTransitVlanStream: into( membershipJoinStatus.vlan[ vlanId "
         "].routerIntf[ intfId ] ): deleting k1=10, k2=Null0",
         "9 eventToTransitVlanStream: into( membershipJoinStatus.vlan[ vlanId ].group[ "
         "anyGrpOrSrc ].source[ anyGrpOrSrc ].excludeIntf[ intfId ] ): deleting k1=10, "
         "k2=0.0.0.0, k3=0.0.0.0, k4=Null0",
         "9 eventToTransitVlanStream: into( membershipJoinStatus.vlan[ vlanId ].group[ "
         "anyGrpOrSrc ].source[ anyGrpOrSrc ].includeIntf[ intfId ] ): inserting "
         "k1=10, k2=0.0.0.0, k3=0.0.0.0, k4=Null0",
         "9 eventToTransitVlanStream: into( transitIntfColl.intf[ transitIntf ] ): "
         "inserting k1=Vlan10, value=Tuple( Vlan10, 10.0.0.1 )"));
}

TEST_F(TransitIntfSmVlan, MakesThePathThenSaysItThenAddsTheLeaf) {
   startQuietly();
   transitOn("red", 10);
   auto const said = log.take();
   auto const trace = std::find_if(said.begin(), said.end(), [](auto const& event) {
      return event.find("includeIntf[ intfId ] ): inserting") != std::string::npos;
   });
   ASSERT_NE(trace, said.end());
   EXPECT_EQ(*(trace - 1), "+ vlan[10].group[0.0.0.0].source[0.0.0.0]");
   EXPECT_EQ(*(trace + 1),
             "+ vlan[10].group[0.0.0.0].source[0.0.0.0].includeIntf[Null0]");
}

TEST_F(TransitIntfSmVlan, ADecisionGoesToTheRingWhateverIsTraced) {
   auto const ring = Pelk::makePtr<Fennlog::TraceHandle>();
   control.qtHandleIs(ring);
   startQuietly();
   Pelk::Trace::levelsIs(Pelk::TraceLevels());
   ring->levelsIs(Pelk::TraceLevels());
   map("red", 10);
   ASSERT_EQ(ring->records().size(), 1u);
   EXPECT_EQ(ring->records()[0].text, "transit vlan: 10 for VRF: red enabled: false");
}

TEST_F(TransitIntfSmVlan, RemovalOfVxlan1WithdrawsJoinsAndLeavesTheInterface) {
   redOn10();
   dir->vtiStatusDel(vxlan1());
   EXPECT_FALSE(hasJoin(10));
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_TRUE(sm->groupByAttr0().empty());
   dir->vtiStatusIs(statusNew("Vxlan1", "10.0.0.3"));
   EXPECT_EQ(addressOf(10), kLocal);
   auto const next = statusNew("Vxlan1", "10.0.0.4");
   next->vrfToSBDVlanIs("red", 10);
   dir->vtiStatusIs(next);
   EXPECT_EQ(addressOf(10), "10.0.0.4");
   EXPECT_TRUE(hasJoin(10));
}

TEST_F(TransitIntfSmVlan, AnInterfaceLeftBehindGoesWithTheNextStart) {
   redOn10();
   dir->vtiStatusDel(vxlan1());
   ASSERT_EQ(addressOf(10), kLocal);
   sm = nullptr;
   start();
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitIntfSmVlan, AValueOutsideTheVlansIsGroupedOnlyUnderItsNumber) {
   startQuietly();
   sm->groupByAttr0Is(5000,
                      Pelk::makePtr<TransitIntfSm::GroupByCollectionValueType0>());
   EXPECT_EQ(sm->groupByAttr0().size(), 1u);
   sm->groupByAttr0(5000)->collIs("red");
   sm->groupByAttr0(5000)->collIs("red");
   EXPECT_EQ(sm->groupByAttr0(5000)->coll().size(), 1u);
   sm->groupByAttr0(5000)->collDelAll();
   EXPECT_TRUE(sm->groupByAttr0(5000)->coll().empty());
   sm->groupByAttr0DelAll();
   EXPECT_TRUE(sm->groupByAttr0().empty());
}

} // namespace
