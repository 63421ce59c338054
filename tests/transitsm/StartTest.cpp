#include "support/DeathMessages.h"
#include "support/TransitFixture.h"
#include "zin/RangeException.h"

namespace {

using namespace Support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class TransitSmStart : public TransitTest {};

TEST_F(TransitSmStart, FillsTheTablesBeforeItEvaluatesTheConfiguration) {
   transit("red");
   map("red", 10);
   start();
   EXPECT_THAT(
      log.take(),
      ElementsAreArray(
         then({"8 handleInitialized: handleInitialized( ipv4 )", vlanChanged("red")},
              becomesTransit(10, "red", kLocal), Events{transitVrfChanged("red")},
              staysTransit(10, "red", kLocal))));
   EXPECT_TRUE(sm->initialized());
}

TEST_F(TransitSmStart, WalksBothCollectionsInTheirOwnOrder) {
   Events expected{"8 handleInitialized: handleInitialized( ipv4 )"};
   for (auto const* vrf : {"red", "blue", "default", "green", "a b"}) {
      map(vrf, 0);
      transit(vrf);
   }
   for (auto const& entry : status->vrfToSBDVlan()) {
      expected.push_back(vlanChanged(std::string(entry.key().view()).c_str()));
   }
   for (auto const& entry : config->transitVrf()) {
      expected.push_back(transitVrfChanged(std::string(entry.key().view()).c_str()));
   }
   start();
   EXPECT_EQ(log.take(), expected);
}

TEST_F(TransitSmStart,
       WithoutTheVxlanStatusEvaluatesOnlyTheConfigurationAndMakesNothing) {
   dir = dirOf({});
   transit("red");
   map("red", 10);
   start();
   EXPECT_THAT(log.take(), ElementsAre("8 handleInitialized: handleInitialized( ipv4 )",
                                       transitVrfChanged("red")));
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmStart, IgnoresTheMappingOfAnyOtherTunnelInterface) {
   auto const other = statusNew("Vxlan2");
   other->vrfToSBDVlanIs("red", 10);
   dir = dirOf({other});
   transit("red");
   start();
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
   log.take();
   other->vrfToSBDVlanIs("red", 20);
   EXPECT_THAT(log.take(), ElementsAre(vlanChanged("red")));
}

TEST_F(TransitSmStart, LeavesWhatAnotherWriterPublishedUntilItsVlanIsEvaluated) {
   coll->intfIs(Lidra::IntfId("Vlan77"), Lidra::IpAddr("1.2.3.4"));
   joins->vlanIs(77)->routerIntfIs(Lidra::IntfId("Ethernet1"));
   start();
   EXPECT_EQ(outputs().at("intf Vlan77"), "1.2.3.4");
   EXPECT_EQ(outputs().at("join 77"), "router Ethernet1");
   excuse("intf Vlan77", Path::kForeignEntry);
   excuse("join 77", Path::kForeignEntry);
   expectReference();

   excuses.clear();
   map("red", 77);
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmStart, AdoptsTheInterfaceThatIsThere) {
   transit("red");
   map("red", 10);
   auto const intf = coll->intfIs(Lidra::IntfId("Vlan10"), Lidra::IpAddr("1.2.3.4"));
   start();
   EXPECT_EQ(coll->intf(Lidra::IntfId("Vlan10")), intf);
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitSmStart, KeepsWhatOthersPutBelowATransitVlan) {
   transit("red");
   map("red", 10);
   joins->vlanIs(10)->routerIntfIs(Lidra::IntfId("Ethernet1"));
   start();
   EXPECT_EQ(outputs().at("join 10"),
             "(0.0.0.0, 0.0.0.0) include Null0; router Ethernet1");
   excuse("join 10", Path::kForeignLeaf);
}

TEST_F(TransitSmStart, AttributesAreThoseThatTheFactoryWasGiven) {
   start();
   EXPECT_EQ(sm->af(), kIpv4);
   EXPECT_EQ(sm->mcastEvpnConfig(), config);
   EXPECT_EQ(sm->vtiStatusDir(), dir);
   EXPECT_EQ(sm->mlagStatus(), mlag);
   EXPECT_EQ(sm->transitIntfColl(), coll);
   EXPECT_EQ(sm->membershipJoinStatus(), joins);
   EXPECT_EQ(sm->entityType().name, "Irb::Multicast::Evpn::TransitSm");
   EXPECT_EQ(TransitSm::SbdVlanToVrf::type().name,
             "Irb::Multicast::Evpn::TransitSm::SbdVlanToVrf");
   std::vector<std::string_view> names;
   for (auto const& attribute : sm->entityType().attributes) {
      names.push_back(attribute.name);
   }
   EXPECT_THAT(names, ElementsAre("af", "mcastEvpnConfig", "vtiStatusDir", "mlagStatus",
                                  "transitIntfColl", "membershipJoinStatus",
                                  "initialized", "vrfToSbdVlan", "sbdVlanToVrf"));
}

TEST_F(TransitSmStart, ConstructorSubscribesToTheStatusesAloneAndRunsNoPerEntryChange) {
   map("red", 10);
   transit("red");
   sm = Pelk::makePtr<TransitSm>(kIpv4, config, dir, mlag, coll, joins);
   EXPECT_EQ(dir->subscribers(), 1u);
   EXPECT_EQ(status->subscribers(), 1u);
   EXPECT_EQ(config->subscribers(), 0u);
   EXPECT_EQ(mlag->subscribers(), 0u);
   auto const events = log.take();
   EXPECT_EQ(std::count(events.begin(), events.end(), vlanChanged("red")), 1);
   EXPECT_EQ(std::count(events.begin(), events.end(), addressChanged()), 0);

   transit("blue");
   EXPECT_THAT(log.take(), IsEmpty());
   sm->hasNotificationActiveIs(true);
   EXPECT_EQ(config->subscribers(), 1u);
   EXPECT_EQ(mlag->subscribers(), 1u);
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitSmStart, SwitchingNotificationsOnTwiceSubscribesOnce) {
   startQuietly();
   sm->hasNotificationActiveIs(true);
   EXPECT_EQ(config->subscribers(), 1u);
   EXPECT_EQ(mlag->subscribers(), 1u);
   transit("red");
   EXPECT_THAT(log.take(), ElementsAre(transitVrfChanged("red")));
}

TEST_F(TransitSmStart, SwitchedOffItHearsTheStatusesOnly) {
   map("red", 10);
   startQuietly();
   sm->hasNotificationActiveIs(false);
   EXPECT_EQ(config->subscribers(), 0u);
   EXPECT_EQ(mlag->subscribers(), 0u);
   transit("red");
   mlagIs(3);
   EXPECT_THAT(log.take(), IsEmpty());
   map("blue", 20);
   EXPECT_THAT(log.take(),
               ElementsAreArray(then({vlanChanged("blue")}, noTransit(20))));
   sm->hasNotificationActiveIs(true);
   excuse("intf Vlan10", Path::kNotListening);
   excuse("join 10", Path::kNotListening);
}

TEST_F(TransitSmStart, ConfigurationChangesFromInsideTheConstructorAreNotCaughtUp) {
   transit("red");
   map("red", 10);
   log.actionIs([&](std::string const&) { config->transitVrfDel("red"); });
   start();
   EXPECT_EQ(addressOf(10), kLocal);
   excuse("intf Vlan10", Path::kNotListening);
   excuse("join 10", Path::kNotListening);
}

TEST_F(TransitSmStart, StatusChangesFromInsideTheConstructorAreHeard) {
   transit("red");
   map("red", 10);
   log.actionIs([&](std::string const& text) {
      if (text == "+ intf[Vlan10]") {
         map("red", 20);
      }
   });
   start();
   EXPECT_EQ(addressOf(20), kLocal);
   EXPECT_EQ(addressOf(10), "no interface");
}

TEST_F(TransitSmStart, DestroyingItLeavesTheOutputsAndNoSubscription) {
   transit("red");
   map("red", 10);
   startQuietly();
   EXPECT_EQ(subscribers(), 4u);
   auto const before = reference();
   EXPECT_EQ(before.size(), 2u);
   sm = nullptr;
   EXPECT_EQ(subscribers(), 0u);
   EXPECT_THAT(log.take(), IsEmpty());
   EXPECT_EQ(outputs(), before);
   config->transitVrfDel("red");
   map("red", 20);
   mlagIs(4);
   EXPECT_THAT(log.take(), IsEmpty());
   EXPECT_EQ(outputs(), before);
}

TEST_F(TransitSmStart, AReactorForIpv6SubscribesKeepsItsTablesAndWritesNothing) {
   transit("red");
   map("red", 10);
   start(kIpv6);
   EXPECT_THAT(log.take(),
               ElementsAre("8 handleInitialized: handleInitialized( ipv6 )"));
   EXPECT_TRUE(sm->initialized());
   EXPECT_EQ(subscribers(), 4u);
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());

   map("red", 20);
   EXPECT_THAT(log.take(),
               ElementsAre("8 handleVrfToSBDVlan: handleVrfToSBDVlan( ipv6 ), vrf: red",
                           "8 handleTransitVlan: handleTransitVlan( ipv6 ), vlanId: 20",
                           enabledBy("red")));
   EXPECT_EQ(sm->vrfToSbdVlan("red"), Bridging::VlanIdOrNone(20));
   EXPECT_TRUE(sm->sbdVlanToVrf(20)->vrfHas("red"));

   mlagIs(3);
   EXPECT_THAT(log.take(), IsEmpty());
   status->localVtepAddrIs(Lidra::IpAddr("9.9.9.9"));
   EXPECT_THAT(log.take(), ElementsAre("8 handleVtepAddr: handleVtepAddr( ipv6 )"));
   config->transitVrfDel("red");
   EXPECT_THAT(
      log.take(),
      ElementsAre("8 handleTransitVrf: handleTransitVrf( ipv6 ), vrf: red",
                  "8 handleTransitVlan: handleTransitVlan( ipv6 ), vlanId: 20"));
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmStart, ANullDirectoryIsAllowedAndCanBeReplaced) {
   dir = nullptr;
   transit("red");
   map("red", 10);
   start();
   EXPECT_THAT(log.take(), ElementsAre("8 handleInitialized: handleInitialized( ipv4 )",
                                       transitVrfChanged("red")));
   EXPECT_EQ(sm->vtepAddr(), Lidra::IpGenAddr());
   log.take();
   dirIs(dirOf({status}));
   EXPECT_THAT(log.take(), ElementsAreArray(then(
                              {vlanChanged("red")}, becomesTransit(10, "red", kLocal),
                              Events{addressChanged(), choosing(kLocal)})));
}

TEST_F(TransitSmStart, EveryOtherNullArgumentIsFatal) {
   using Irb::Multicast::Evpn::transitSmFactory;
   auto const dies = [](char const* accessor, auto&& start) {
      EXPECT_DEATH(start(),
                   assertionMessage(std::string(accessor) +
                                    " && \"Pointer SM args cannot be null unless they "
                                    "are marked Optional\""));
   };
   dies("mcastEvpnConfig()",
        [&] { transitSmFactory(kIpv4, nullptr, dir, mlag, coll, joins); });
   dies("mlagStatus()",
        [&] { transitSmFactory(kIpv4, config, dir, nullptr, coll, joins); });
   dies("transitIntfColl()",
        [&] { transitSmFactory(kIpv4, config, dir, mlag, nullptr, joins); });
   dies("membershipJoinStatus()",
        [&] { transitSmFactory(kIpv4, config, dir, mlag, coll, nullptr); });
}

TEST_F(TransitSmStart, AnExceptionOutOfTheFactoryLeavesNoSubscription) {
   map("red", 10);
   map("blue", 4095);
   transit("red");
   auto const other = statusNew("Vxlan2");
   dir->vtiStatusIs(other);
   try {
      start();
      FAIL() << "no exception";
   } catch (Zin::RangeException const& error) {
      EXPECT_STREQ(error.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
   }
   EXPECT_EQ(subscribers() + other->subscribers(), 0u);
   EXPECT_EQ(config->useCount(), 1u);
   EXPECT_EQ(coll->useCount(), 2u); // the fixture's, and its log's
   map("blue", 20);
   start();
   EXPECT_EQ(addressOf(10), kLocal);
}

} // namespace
