#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "support/NotificationRecorder.h"
#include "vxlan/VtiStatusDir.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

// A callback drops the last use of the entity whose setter called it: for every kind of
// setter, none of which may touch the entity again. AddressSanitizer sees one that
// does.
namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Irb::Multicast::Evpn::TransitIntf;
using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Gmp::GroupMembershipJoin;
using Irb::Multicast::Gmp::MembershipJoinStatus;
using Irb::Multicast::Gmp::SourceMembershipJoin;
using Irb::Multicast::Gmp::VlanMembershipJoin;
using Lidra::IntfId;
using Lidra::IpAddr;
using Lidra::IpGenAddr;
using Mlag::MlagState;
using Pelk::makePtr;
using Routing::Multicast::PegVlanStatus;
using Routing::Multicast::Evpn::Config;
using Vxlan::VtiStatus;
using Vxlan::VtiStatusDir;

constexpr auto kNothing = [](auto&) {};

// Makes an entity, prepares it, and lets the first of its subscribers drop it in the
// first notification of the change. expected: how many notifications that one gets.
template <typename Make, typename Prepare, typename Change>
void expectSafe(Make make, Prepare prepare, Change change, size_t expected = 1) {
   for (bool const alone : {true, false}) {
      auto entity = make();
      prepare(*entity);
      Support::NotificationRecorder first(*entity);
      Support::NotificationRecorder second(*entity);
      if (alone) {
         entity->subscriberRemove(&second);
      }
      first.actionIs([&] { entity = nullptr; });
      change(*entity);
      EXPECT_EQ(first.texts().size(), expected);
      EXPECT_EQ(first.subscriptions(), 0u) << "the entity is still there";
   }
}

TEST(LastUseInCallback, OfASingleValueIsNoFault) {
   expectSafe(makePtr<Mlag::Status>, kNothing,
              [](auto& status) { status.mlagStateIs(MlagState::active); });
   auto const vti = [] { return makePtr<VtiStatus>(IntfId("Vxlan1")); };
   expectSafe(vti, kNothing,
              [](auto& status) { status.localVtepAddrIs(IpAddr("1.2.3.4")); });
   expectSafe(vti, kNothing,
              [](auto& status) { status.mlagVtepAddrIs(IpAddr("1.2.3.4")); });
   expectSafe([] { return makePtr<TransitIntf>(IntfId("Vlan10"), IpGenAddr()); },
              kNothing, [](auto& intf) { intf.ipAddrIs(IpGenAddr("1.2.3.4")); });
}

TEST(LastUseInCallback, OfASetMemberIsNoFault) {
   auto const addRed = [](auto& config) { config.transitVrfIs("red"); };
   expectSafe(makePtr<Config>, kNothing, addRed);
   expectSafe(makePtr<Config>, addRed,
              [](auto& config) { config.transitVrfDel("red"); });
   auto const addTen = [](auto& status) { status.pegVlanIs(VlanId(10)); };
   expectSafe(makePtr<PegVlanStatus>, kNothing, addTen);
   expectSafe(makePtr<PegVlanStatus>, addTen,
              [](auto& status) { status.pegVlanDel(VlanId(10)); });
}

TEST(LastUseInCallback, OfAMapMemberIsNoFault) {
   auto const make = [] { return makePtr<VtiStatus>(IntfId("Vxlan1")); };
   auto const red = [](auto& vti) { vti.vrfToSBDVlanIs("red", VlanIdOrNone(10)); };
   expectSafe(make, kNothing, red);
   expectSafe(make, red, red);
   expectSafe(make, red, [](auto& vti) { vti.vrfToSBDVlanDel("red"); });
}

TEST(LastUseInCallback, OfAnAdoptedChildIsNoFault) {
   auto const add = [](auto& dir) {
      dir.vtiStatusIs(makePtr<VtiStatus>(IntfId("Vxlan1")));
   };
   expectSafe(makePtr<VtiStatusDir>, kNothing, add);
   expectSafe(makePtr<VtiStatusDir>, add, add);
   expectSafe(makePtr<VtiStatusDir>, add,
              [](auto& dir) { dir.vtiStatusDel(IntfId("Vxlan1")); });
}

TEST(LastUseInCallback, OfAChildIsNoFaultAndTheChildIsReturned) {
   auto const ten = IntfId("Vlan10");
   auto const addTen = [=](auto& coll) {
      auto const made = coll.intfIs(ten, IpGenAddr("1.2.3.4"));
      EXPECT_EQ(made->intfId(), ten);
      EXPECT_EQ(made->ipAddr(), IpGenAddr("1.2.3.4"));
   };
   expectSafe(&TransitIntfColl::TransitIntfCollIs, kNothing, addTen);
   expectSafe(&TransitIntfColl::TransitIntfCollIs, addTen, [=](auto& coll) {
      auto const removed = coll.intfDel(ten);
      EXPECT_EQ(removed->intfId(), ten);
      EXPECT_EQ(removed->useCount(), 1u);
   });
}

TEST(LastUseInCallback, OfEveryLevelOfTheJoinTreeIsNoFault) {
   IpGenAddr const any;
   auto const intf = IntfId("Null0");
   auto const vlanIs = [](auto& join) {
      EXPECT_EQ(join.vlanIs(VlanId(10))->vlanId(), VlanId(10));
   };
   expectSafe(makePtr<MembershipJoinStatus>, kNothing, vlanIs);
   expectSafe(makePtr<MembershipJoinStatus>, vlanIs,
              [](auto& join) { join.vlanDel(VlanId(10)); });

   auto const makeVlan = [] { return makePtr<VlanMembershipJoin>(VlanId(10)); };
   auto const groupIs = [=](auto& vlan) { EXPECT_EQ(vlan.groupIs(any)->group(), any); };
   expectSafe(makeVlan, kNothing, groupIs);
   expectSafe(makeVlan, groupIs, [=](auto& vlan) { vlan.groupDel(any); });
   auto const routerIs = [=](auto& vlan) { vlan.routerIntfIs(intf); };
   expectSafe(makeVlan, kNothing, routerIs);
   expectSafe(makeVlan, routerIs, [=](auto& vlan) { vlan.routerIntfDel(intf); });

   auto const makeGroup = [=] { return makePtr<GroupMembershipJoin>(any); };
   auto const sourceIs = [=](auto& group) {
      EXPECT_EQ(group.sourceIs(any)->source(), any);
   };
   expectSafe(makeGroup, kNothing, sourceIs);
   expectSafe(makeGroup, sourceIs, [=](auto& group) { group.sourceDel(any); });

   auto const makeSource = [=] { return makePtr<SourceMembershipJoin>(any); };
   auto const includeIs = [=](auto& source) { source.includeIntfIs(intf); };
   auto const excludeIs = [=](auto& source) { source.excludeIntfIs(intf); };
   expectSafe(makeSource, kNothing, includeIs);
   expectSafe(makeSource, kNothing, excludeIs);
   expectSafe(makeSource, includeIs,
              [=](auto& source) { source.includeIntfDel(intf); });
   expectSafe(makeSource, excludeIs,
              [=](auto& source) { source.excludeIntfDel(intf); });
}

// These hold the entity to their end, so that every member is announced.
TEST(LastUseInCallback, OfADelAllIsNoFaultAndEveryMemberIsAnnounced) {
   expectSafe(
      makePtr<Config>,
      [](auto& config) {
         for (auto const* vrf : {"red", "green", "blue"}) {
            config.transitVrfIs(vrf);
         }
      },
      [](auto& config) { config.transitVrfDelAll(); }, 3);
   expectSafe(
      makePtr<VtiStatusDir>,
      [](auto& dir) {
         dir.vtiStatusIs(makePtr<VtiStatus>(IntfId("Vxlan1")));
         dir.vtiStatusIs(makePtr<VtiStatus>(IntfId("Vxlan2")));
      },
      [](auto& dir) { dir.vtiStatusDelAll(); }, 2);
   expectSafe([] { return makePtr<VtiStatus>(IntfId("Vxlan1")); },
              [](auto& vti) {
                 vti.vrfToSBDVlanIs("red", VlanIdOrNone(1));
                 vti.vrfToSBDVlanIs("blue", VlanIdOrNone(2));
              },
              [](auto& vti) { vti.vrfToSBDVlanDelAll(); }, 2);
   expectSafe(
      &TransitIntfColl::TransitIntfCollIs,
      [](auto& coll) {
         coll.intfIs(IntfId("Vlan10"), IpGenAddr());
         coll.intfIs(IntfId("Vlan20"), IpGenAddr());
      },
      [](auto& coll) { coll.intfDelAll(); }, 2);
   expectSafe(
      makePtr<MembershipJoinStatus>,
      [](auto& join) {
         join.vlanIs(VlanId(10));
         join.vlanIs(VlanId(20));
      },
      [](auto& join) { join.vlanDelAll(); }, 2);
}

} // namespace
