#include "gmp/MembershipJoinStatus.h"
#include "support/NotificationRecorder.h"
#include "support/TreeRecorder.h"
#include "zin/TypeTable.h"

#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bridging::VlanId;
using Irb::Multicast::Gmp::MembershipJoinStatus;
using Irb::Multicast::Gmp::SourceMembershipJoin;
using Lidra::IntfId;
using Lidra::IpGenAddr;
using Pelk::makePtr;
using Support::NotificationRecorder;
using Support::TreeChange;
using Support::TreeRecorder;

using Texts = std::vector<std::string>;

IpGenAddr const kAny;
IpGenAddr const kGroup("239.1.2.3");
IntfId const kNull0("Null0");
IntfId const kVlan10("Vlan10");

std::string printed(Pelk::Entity const& entity) {
   std::ostringstream out;
   Zin::print(out, entity);
   return out.str();
}

TEST(JoinTree, EachLevelAnnouncesItsOwnNewChildrenOnce) {
   auto const root = makePtr<MembershipJoinStatus>();
   NotificationRecorder ofRoot(*root);
   auto const vlan = root->vlanIs(VlanId(10));
   NotificationRecorder ofVlan(*vlan);
   auto const group = vlan->groupIs(kAny);
   NotificationRecorder ofGroup(*group);
   auto const source = group->sourceIs(kAny);
   NotificationRecorder ofSource(*source);
   source->includeIntfIs(kNull0);
   source->excludeIntfIs(kVlan10);
   vlan->routerIntfIs(kVlan10);
   EXPECT_EQ(ofRoot.take(),
             Texts{"vlan[10] = Irb::Multicast::Gmp::VlanMembershipJoin"});
   EXPECT_EQ(ofVlan.take(),
             (Texts{"group[0.0.0.0] = Irb::Multicast::Gmp::GroupMembershipJoin",
                    "routerIntf[Vlan10]"}));
   EXPECT_EQ(ofGroup.take(),
             Texts{"source[0.0.0.0] = Irb::Multicast::Gmp::SourceMembershipJoin"});
   EXPECT_EQ(ofSource.take(), (Texts{"includeIntf[Null0]", "excludeIntf[Vlan10]"}));

   // All of it again is no change.
   EXPECT_EQ(root->vlanIs(VlanId(10)), vlan);
   EXPECT_EQ(vlan->groupIs(kAny), group);
   EXPECT_EQ(group->sourceIs(kAny), source);
   source->includeIntfIs(kNull0);
   source->excludeIntfIs(kVlan10);
   vlan->routerIntfIs(kVlan10);
   for (auto const* recorder : {&ofRoot, &ofVlan, &ofGroup, &ofSource}) {
      EXPECT_EQ(recorder->texts(), Texts{});
   }
}

TEST(JoinTree, LevelsKnowTheirKeys) {
   auto const vlan = makePtr<MembershipJoinStatus>()->vlanIs(VlanId(10));
   auto const group = vlan->groupIs(kGroup);
   auto const source = group->sourceIs(kAny);
   EXPECT_EQ(vlan->vlanId(), VlanId(10));
   EXPECT_EQ(group->group(), kGroup);
   EXPECT_EQ(source->source(), kAny);
}

TEST(JoinTree, LookUpOfAnAbsentChildIsNull) {
   auto const root = makePtr<MembershipJoinStatus>();
   EXPECT_EQ(root->vlan(VlanId(10)), nullptr);
   auto const vlan = root->vlanIs(VlanId(10));
   EXPECT_EQ(root->vlan(VlanId(10)), vlan);
   EXPECT_EQ(vlan->group(kAny), nullptr);
   EXPECT_EQ(vlan->groupIs(kAny)->source(kAny), nullptr);
}

TEST(JoinTree, WildcardsOfTheTwoFamiliesAreTwoGroups) {
   auto const vlan = makePtr<MembershipJoinStatus>()->vlanIs(VlanId(10));
   vlan->groupIs(IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv4));
   vlan->groupIs(IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv6));
   EXPECT_EQ(vlan->group().size(), 2u);
}

TEST(JoinTree, RemovalOfALevelIsAnnouncedOnceByTheLevelAbove) {
   auto const root = makePtr<MembershipJoinStatus>();
   auto const vlan = root->vlanIs(VlanId(10));
   auto const group = vlan->groupIs(kAny);
   auto const source = group->sourceIs(kAny);
   source->includeIntfIs(kNull0);
   vlan->routerIntfIs(kVlan10);
   NotificationRecorder ofRoot(*root);
   NotificationRecorder ofVlan(*vlan);
   NotificationRecorder ofGroup(*group);
   NotificationRecorder ofSource(*source);
   root->vlanDel(VlanId(10));
   EXPECT_EQ(ofRoot.texts(), Texts{"vlan[10] removed"});
   EXPECT_EQ(ofVlan.texts(), Texts{});
   EXPECT_EQ(ofGroup.texts(), Texts{});
   EXPECT_EQ(ofSource.texts(), Texts{});
   EXPECT_EQ(vlan->useCount(), 1u);
   // What was taken out is whole, and stands by itself.
   EXPECT_EQ(vlan->group(kAny), group);
   EXPECT_TRUE(source->includeIntf().contains(kNull0));
   vlan->groupDel(kAny);
   EXPECT_EQ(ofVlan.texts(), Texts{"group[0.0.0.0] removed"});
   group->sourceDel(kAny);
   EXPECT_EQ(ofGroup.texts(), Texts{"source[0.0.0.0] removed"});
   EXPECT_EQ(ofRoot.texts().size(), 1u);
}

TEST(JoinTree, RemovalOfWhatIsAbsentAnnouncesNothing) {
   auto const root = makePtr<MembershipJoinStatus>();
   auto const vlan = root->vlanIs(VlanId(10));
   auto const group = vlan->groupIs(kAny);
   auto const source = group->sourceIs(kAny);
   NotificationRecorder ofRoot(*root);
   NotificationRecorder ofVlan(*vlan);
   NotificationRecorder ofGroup(*group);
   NotificationRecorder ofSource(*source);
   root->vlanDel(VlanId(11));
   vlan->groupDel(kGroup);
   vlan->routerIntfDel(kVlan10);
   group->sourceDel(kGroup);
   source->includeIntfDel(kNull0);
   source->excludeIntfDel(kNull0);
   for (auto const* recorder : {&ofRoot, &ofVlan, &ofGroup, &ofSource}) {
      EXPECT_EQ(recorder->texts(), Texts{});
   }
}

TEST(JoinTree, EachDelAllAnnouncesEveryMember) {
   auto const root = makePtr<MembershipJoinStatus>();
   root->vlanIs(VlanId(11));
   auto const vlan = root->vlanIs(VlanId(10));
   auto const group = vlan->groupIs(kAny);
   vlan->groupIs(kGroup);
   auto const source = group->sourceIs(kAny);
   group->sourceIs(kGroup);
   for (auto const intf : {kNull0, kVlan10}) {
      vlan->routerIntfIs(intf);
      source->includeIntfIs(intf);
      source->excludeIntfIs(intf);
   }
   NotificationRecorder ofRoot(*root);
   NotificationRecorder ofVlan(*vlan);
   NotificationRecorder ofGroup(*group);
   NotificationRecorder ofSource(*source);
   source->includeIntfDelAll();
   EXPECT_EQ(ofSource.take().size(), 2u);
   source->excludeIntfDelAll();
   EXPECT_EQ(ofSource.take().size(), 2u);
   EXPECT_EQ(source->includeIntf().members() + source->excludeIntf().members(), 0u);
   group->sourceDelAll();
   EXPECT_EQ(ofGroup.take().size(), 2u);
   vlan->groupDelAll();
   vlan->routerIntfDelAll();
   EXPECT_EQ(ofVlan.take().size(), 4u);
   root->vlanDelAll();
   EXPECT_EQ(ofRoot.take().size(), 2u);
   EXPECT_EQ(printed(*root), "Irb::Multicast::Gmp::MembershipJoinStatus{ vlan: { } }");
}

TEST(JoinTree, SetsAreReadByCountLookUpAndIterator) {
   auto const source = makePtr<SourceMembershipJoin>(kAny);
   auto const& include = source->includeIntf();
   bool found = true;
   EXPECT_EQ(include.safeLookup(kNull0, found), IntfId());
   EXPECT_FALSE(found);
   EXPECT_EQ(include.members(), 0u);
   EXPECT_FALSE(include.iterate().valid());
   source->includeIntfIs(kNull0);
   source->includeIntfIs(kVlan10);
   EXPECT_EQ(include.safeLookup(kNull0, found), kNull0);
   EXPECT_TRUE(found);
   EXPECT_EQ(include.members(), 2u);
   auto member = include.iterate();
   ASSERT_TRUE(member.valid());
   IntfId const first = member.key();
   ASSERT_TRUE(member.next());
   EXPECT_NE(member.key(), first);
   EXPECT_FALSE(member.next());
   // The other set is another.
   EXPECT_EQ(source->excludeIntf().members(), 0u);
}

// Random operations through the tree's own functions.
class RandomTree {
 public:
   RandomTree(Pelk::Ptr<MembershipJoinStatus> root, uint32_t seed)
      : root_(std::move(root)), random_(seed) {}

   void operate() {
      auto const vlanId = VlanId(static_cast<uint16_t>(1 + below(4)));
      auto const group = addr();
      auto const source = addr();
      auto const intf = IntfId("Ethernet" + std::to_string(below(3)));
      switch (below(12)) {
         case 0:
            return root_->vlanDel(vlanId);
         case 1:
            return below(20) == 0 ? root_->vlanDelAll() : void();
         case 2:
            return root_->vlanIs(vlanId)->groupDel(group);
         case 3:
            return root_->vlanIs(vlanId)->routerIntfIs(intf);
         case 4:
            return root_->vlanIs(vlanId)->routerIntfDel(intf);
         case 5:
            return root_->vlanIs(vlanId)->groupIs(group)->sourceDel(source);
         case 6:
            return leaf(vlanId, group, source).includeIntfDel(intf);
         case 7:
            return leaf(vlanId, group, source).excludeIntfDel(intf);
         case 8:
            return leaf(vlanId, group, source).includeIntfDelAll();
         case 9:
            return leaf(vlanId, group, source).excludeIntfIs(intf);
         default:
            return leaf(vlanId, group, source).includeIntfIs(intf);
      }
   }

 private:
   unsigned long below(unsigned long end) { return random_() % end; }
   IpGenAddr addr() {
      constexpr std::string_view texts[] = {"0.0.0.0", "239.0.0.1", "::", "ff05::1"};
      return IpGenAddr(texts[below(4)]);
   }
   SourceMembershipJoin& leaf(VlanId vlanId, IpGenAddr const& group,
                              IpGenAddr const& source) {
      // The tree holds it.
      return *root_->vlanIs(vlanId)->groupIs(group)->sourceIs(source);
   }

   Pelk::Ptr<MembershipJoinStatus> root_;
   std::mt19937 random_;
};

TEST(JoinTree, RecordOfAllNotificationsReplaysIntoTheSameTree) {
   for (uint32_t seed = 0; seed < 20; ++seed) {
      auto const root = makePtr<MembershipJoinStatus>();
      auto const copy = makePtr<MembershipJoinStatus>();
      TreeRecorder const recorder(*root);
      TreeRecorder const copyRecorder(*copy);
      RandomTree tree(root, seed);
      for (int i = 0; i < 400; ++i) {
         tree.operate();
      }
      ASSERT_GT(recorder.changes().size(), 200u);
      TreeRecorder::replay(recorder.changes(), *copy);
      EXPECT_EQ(printed(*copy), printed(*root)) << "seed " << seed;
      EXPECT_EQ(copyRecorder.changes(), recorder.changes()) << "seed " << seed;
   }
}

TEST(JoinTree, RecordOfOneWildcardJoinIsOneNotificationALevel) {
   auto const root = makePtr<MembershipJoinStatus>();
   TreeRecorder const recorder(*root);
   root->vlanIs(VlanId(10))->groupIs(kAny)->sourceIs(kAny)->includeIntfIs(kNull0);
   root->vlanDel(VlanId(10));
   using Path = TreeChange::Path;
   EXPECT_EQ(
      recorder.changes(),
      (std::vector<TreeChange>{
         {{}, "vlan", "10", false, ""},
         {Path{{"vlan", "10"}}, "group", "0.0.0.0", false, ""},
         {Path{{"vlan", "10"}, {"group", "0.0.0.0"}}, "source", "0.0.0.0", false, ""},
         {Path{{"vlan", "10"}, {"group", "0.0.0.0"}, {"source", "0.0.0.0"}},
          "includeIntf", "Null0", false, ""},
         {{}, "vlan", "10", true, ""}}));
}

} // namespace
