#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "support/TransitFixture.h"

namespace {

using namespace Support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace TransitTrace = Irb::Multicast::Evpn::TransitTrace;

class TransitSmVlan : public TransitTest {};

TEST_F(TransitSmVlan, WithoutStatusOrRecordItIsWithdrawn) {
   startQuietly();
   sm->handleTransitVlan(10);
   EXPECT_THAT(log.take(), ElementsAreArray(noTransit(10)));
   sm->sbdVlanToVrfIs(10)->vrfIs("red");
   transit("red");
   log.take();
   sm->handleTransitVlan(10);
   EXPECT_THAT(log.take(), ElementsAreArray(noTransit(10))) << "not mapped to it";
   dir->vtiStatusDelAll();
   log.take();
   sm->handleTransitVlan(10);
   EXPECT_THAT(log.take(), ElementsAreArray(noTransit(10)));
}

TEST_F(TransitSmVlan, OfTwoVrfsOneIsEnoughAndTheInterfaceComesOnce) {
   map("red", 10);
   map("blue", 10);
   startQuietly();
   transit("blue");
   EXPECT_THAT(log.takeNotified(),
               ElementsAreArray(then({"+ intf[Vlan10]"}, joinMade(10))));
   transit("red");
   EXPECT_THAT(log.takeNotified(), IsEmpty());
   config->transitVrfDel("blue");
   EXPECT_THAT(log.takeNotified(), IsEmpty());
   config->transitVrfDel("red");
   EXPECT_THAT(log.takeNotified(), ElementsAre("- intf[Vlan10]", "- vlan[10]"));
}

TEST_F(TransitSmVlan, TheFirstVrfInTheSetsOrderWinsAndTheRestAreNotLookedAt) {
   for (auto const* vrf : {"red", "blue", "green", "default"}) {
      transit(vrf);
      map(vrf, 10);
   }
   startQuietly();
   auto const first = std::string(sm->sbdVlanToVrf(10)->vrf().begin()->key().view());
   sm->handleTransitVlan(10);
   EXPECT_THAT(log.take(), ElementsAreArray(staysTransit(10, first.c_str(), kLocal)));
}

TEST_F(TransitSmVlan, EnablingTwiceRefreshesTheAddressAndDuplicatesNothing) {
   map("red", 10);
   transit("red");
   startQuietly();
   coll->intf(Lidra::IntfId("Vlan10"))->ipAddrIs(Lidra::IpAddr("1.2.3.4"));
   log.take();
   sm->updateTransitIntf(10, true);
   sm->updateTransitIntf(10, true);
   EXPECT_THAT(log.take(), ElementsAre(creating(10), choosing(kLocal),
                                       "intf[Vlan10].ipAddr = 10.0.0.1", joining(10),
                                       creating(10), choosing(kLocal), joining(10)));
}

TEST_F(TransitSmVlan, RemovingTakesTheWholeVlanEntryWithEverythingUnderIt) {
   map("red", 10);
   transit("red");
   startQuietly();
   joins->vlanIs(10)->routerIntfIs(Lidra::IntfId("Ethernet1"));
   log.take();
   config->transitVrfDel("red");
   EXPECT_THAT(log.takeNotified(), ElementsAre("- intf[Vlan10]", "- vlan[10]"));
   sm->updateTransitIntf(10, false);
   EXPECT_THAT(log.take(), ElementsAre(deleting(10)));
}

TEST_F(TransitSmVlan, MlagState4WithdrawsInterfacesSilentlyAndKeepsJoins) {
   map("red", 10);
   transit("red");
   startQuietly();
   mlagIs(4);
   EXPECT_THAT(log.take(),
               ElementsAre("8 handleMlagState: handleMlagState: Mlag State: withheld",
                           transitVrfChanged("red"), evaluating(10), enabledBy("red"),
                           "- intf[Vlan10]", joining(10)));
   expectReference();
   map("blue", 20);
   log.take();
   transit("blue");
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({transitVrfChanged("blue"), evaluating(20),
                                      enabledBy("blue"), joining(20)},
                                     joinMade(20))));
}

TEST_F(TransitSmVlan,
       LeavingMlagState4For3RecreatesEveryInterfaceWithTheSharedAddress) {
   map("red", 10);
   map("blue", 20);
   transit("red");
   transit("blue");
   mlagIs(4);
   startQuietly();
   EXPECT_EQ(addressOf(10), "no interface");
   mlagIs(3);
   EXPECT_EQ(addressOf(10), kShared);
   EXPECT_EQ(addressOf(20), kShared);
}

TEST_F(TransitSmVlan, AnMlagChangeVisitsEachConfiguredVrfAndCallsNoAddressHandler) {
   map("red", 10);
   transit("red");
   transit("unmapped");
   startQuietly();
   mlagIs(3);
   auto const redFirst = config->transitVrf().begin()->key() == L3::VrfName("red");
   Events const red{transitVrfChanged("red"),
                    evaluating(10),
                    enabledBy("red"),
                    creating(10),
                    choosing(kShared),
                    std::string("intf[Vlan10].ipAddr = ") + kShared,
                    joining(10)};
   Events const unmapped{transitVrfChanged("unmapped")};
   EXPECT_THAT(
      log.take(),
      ElementsAreArray(then({"8 handleMlagState: handleMlagState: Mlag State: active"},
                            redFirst ? red : unmapped, redFirst ? unmapped : red)));
}

class TransitSmMlag : public TransitTest,
                      public testing::WithParamInterface<uint32_t> {};

TEST_P(TransitSmMlag, EveryStateHasItsInterfaceAndAddressFromAnyOther) {
   static constexpr char const* kNames[] = {"disabled", "inactive", "connecting",
                                            "active",   "withheld", "5"};
   map("red", 10);
   transit("red");
   startQuietly();
   for (uint32_t from = 0; from < 6; ++from) {
      mlagIs(from);
      log.take();
      mlagIs(GetParam());
      auto const traced = log.takeTraced();
      if (from == GetParam()) {
         EXPECT_THAT(traced, IsEmpty());
      } else {
         EXPECT_EQ(traced.front(), std::string("8 handleMlagState: handleMlagState: "
                                               "Mlag State: ") +
                                      kNames[GetParam()]);
      }
      EXPECT_EQ(addressOf(10), GetParam() == 3   ? kShared
                               : GetParam() == 4 ? "no interface"
                                                 : kLocal);
      EXPECT_TRUE(hasJoin(10));
      expectReference();
   }
}

INSTANTIATE_TEST_SUITE_P(States, TransitSmMlag, testing::Range(0u, 6u));

// --- the ring ---

class TransitSmRing : public TransitTest {
 protected:
   // What was written since the last call, as "level text".
   Events ring() {
      Events texts;
      while (auto const record = reader.next()) {
         texts.push_back(std::to_string(record->level) + ' ' + record->text);
      }
      return texts;
   }
   Fennlog::TraceReader reader{TransitTrace::ring()};
};

TEST_F(TransitSmRing, HoldsEveryLineWithTheShortInterfaceNameAndTheStateAsANumber) {
   map("red", 10);
   startQuietly();
   ring();
   transit("red");
   mlagIs(3);
   EXPECT_THAT(
      ring(),
      ElementsAre(
         "8 handleTransitVrf( ipv4 ), vrf: red",
         "8 handleTransitVlan( ipv4 ), vlanId: 10", "8 Transit enabled Vrf: red",
         "4 updateTransitIntf( ipv4 ), create transit intf: Vl10",
         "4 vtepAddr for transit interface : 10.0.0.1",
         "4 updateTransitIntf: Adding (10, *, * ) to transit "
         "membershipJoinStatus",
         "8 handleMlagState: Mlag State: 3", "8 handleTransitVrf( ipv4 ), vrf: red",
         "8 handleTransitVlan( ipv4 ), vlanId: 10", "8 Transit enabled Vrf: red",
         "4 updateTransitIntf( ipv4 ), create transit intf: Vl10",
         "4 vtepAddr for transit interface : 10.0.0.99",
         "4 updateTransitIntf: Adding (10, *, * ) to transit "
         "membershipJoinStatus"));
   status->vrfToSBDVlanDel("red");
   EXPECT_THAT(ring(),
               ElementsAre("8 handleVrfToSBDVlan( ipv4 ), vrf: red",
                           "8 handleTransitVlan( ipv4 ), vlanId: 10",
                           "4 updateTransitIntf( ipv4 ), delete transit intf: Vl10"));
}

TEST_F(TransitSmRing, IsWrittenWhenTheTextTraceIsOff) {
   map("red", 10);
   startQuietly();
   Pelk::Trace::levelsIs(Pelk::TraceLevels());
   ring();
   status->localVtepAddrIs(Lidra::IpAddr("10.0.0.2"));
   EXPECT_THAT(ring(), ElementsAre("8 handleVtepAddr( ipv4 )",
                                   "4 vtepAddr for transit interface : 10.0.0.2"));
   EXPECT_THAT(log.takeTraced(), IsEmpty());
}

TEST_F(TransitSmRing, TextLevelsAreTestedOneByOne) {
   map("red", 10);
   startQuietly();
   Pelk::Trace::levelsIs(Pelk::TraceLevels::of(4));
   transit("red");
   EXPECT_THAT(log.takeTraced(),
               ElementsAre(creating(10), choosing(kLocal), joining(10)));
}

} // namespace
