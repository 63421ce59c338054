#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "support/TransitFixture.h"

#include <sstream>
#include <string_view>

namespace {

using namespace Support;
using testing::ElementsAre;

// The reactor's tables, written by the names of their attributes.
class TransitSmRows : public TransitTest {
 protected:
   static Zin::Attribute const& row(Pelk::Entity const& entity, std::string_view name) {
      return *entity.entityType().attribute(name);
   }
};

TEST_F(TransitSmRows, AVrfsVlanIsSetAndTakenBack) {
   startQuietly();
   auto const& vlans = row(*sm, "vrfToSbdVlan");
   log.follow(*sm, "sm.");
   vlans.memberIs(*sm, "red", "10");
   EXPECT_EQ(sm->vrfToSbdVlan("red"), Bridging::VlanIdOrNone(10));
   EXPECT_EQ(vlans.memberGet(*sm, "red"), "10");
   vlans.memberDel(*sm, "red");
   EXPECT_TRUE(sm->vrfToSbdVlan().empty());
   EXPECT_THAT(log.take(),
               ElementsAre("+ sm.vrfToSbdVlan[red]", "- sm.vrfToSbdVlan[red]"));
}

TEST_F(TransitSmRows, AVlansVrfsAreSetAndTakenBack) {
   startQuietly();
   auto const& vlans = row(*sm, "sbdVlanToVrf");
   auto const entry = vlans.childIs(*sm, "10", {});
   EXPECT_EQ(entry, sm->sbdVlanToVrf(10));
   EXPECT_EQ(row(*entry, "vlanId").get(*entry), "10");
   auto const& vrfs = row(*entry, "vrf");
   vrfs.memberIs(*entry, "red", "");
   EXPECT_TRUE(sm->sbdVlanToVrf(10)->vrfHas("red"));
   vrfs.memberDel(*entry, "red");
   EXPECT_TRUE(sm->sbdVlanToVrf(10)->vrf().empty());
   vlans.memberDel(*sm, "10");
   EXPECT_TRUE(sm->sbdVlanToVrf().empty());
}

TEST_F(TransitSmRows, AReactorIsPrintedWithItsInputsByNameAndItsTables) {
   transit("red");
   map("red", 10);
   startQuietly();
   std::ostringstream text;
   Zin::print(text, *sm);
   EXPECT_EQ(
      text.str(),
      "Irb::Multicast::Evpn::TransitSm{ af: ipv4, mcastEvpnConfig: "
      "Routing::Multicast::Evpn::Config, vtiStatusDir: Vxlan::VtiStatusDir, "
      "mlagStatus: Mlag::Status, transitIntfColl: "
      "Irb::Multicast::Evpn::TransitIntfColl, membershipJoinStatus: "
      "Irb::Multicast::Gmp::MembershipJoinStatus, initialized: true, "
      "vrfToSbdVlan: { red: 10 }, sbdVlanToVrf: { 10: "
      "Irb::Multicast::Evpn::TransitSm::SbdVlanToVrf{ vlanId: 10, vrf: { red } } "
      "} }");
}

TEST_F(TransitSmRows, ItsOutputIsPrintedByNameToo) {
   transit("red");
   map("red", 10);
   startQuietly();
   std::ostringstream text;
   Zin::print(text, *coll);
   EXPECT_EQ(
      text.str(),
      "Irb::Multicast::Evpn::TransitIntfColl{ intf: { Vlan10: "
      "Irb::Multicast::Evpn::TransitIntf{ intfId: Vlan10, ipAddr: 10.0.0.1 } } }");
}

TEST_F(TransitSmRows, AZombieReactorIsStillOne) {
   startQuietly();
   sm->zinDoZombieReactors(true);
   transit("red");
   map("red", 10);
   EXPECT_TRUE(coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(10)));
}

TEST_F(TransitSmRows, TheFacilitysTraceIsTheOneThatTheReactorWritesTo) {
   auto const& text = Irb::Multicast::Evpn::TransitTrace::text();
   EXPECT_EQ(text.levels(), Pelk::Trace::levels());
   Pelk::Trace::levelsIs(Pelk::TraceLevels::of(4));
   EXPECT_TRUE(text.levels().has(4));
}

TEST_F(TransitSmRows, AnEntryNeedsNoReactor) {
   auto const entry = Pelk::makePtr<TransitSm::SbdVlanToVrf>(Bridging::VlanId(10));
   entry->vrfIs("red");
   entry->vrfIs("blue");
   EXPECT_EQ(entry->vlanId(), 10);
   entry->vrfDelAll();
   EXPECT_TRUE(entry->vrf().empty());
}

} // namespace
