#include "support/DataflowFixture.h"
#include "support/NotificationRecorder.h"

#include <string_view>

namespace {

using namespace Support;

// The dataflow machine's state, written by the names of its attributes.
class TransitIntfSmRows : public DataflowTest {
 protected:
   static Zin::Attribute const& row(Pelk::Entity const& entity, std::string_view name) {
      return *entity.entityType().attribute(name);
   }
};

TEST_F(TransitIntfSmRows, AGroupIsMadeOnceAndTakenBack) {
   startQuietly();
   auto const& groups = row(*sm, "groupByAttr0");
   auto const group = groups.childIs(*sm, "10", {});
   ASSERT_TRUE(group);
   EXPECT_EQ(group, sm->groupByAttr0(10));
   auto const& vrfs = row(*group, "coll");
   vrfs.memberIs(*group, "red", "");
   EXPECT_TRUE(sm->groupByAttr0(10)->collHas("red"));
   EXPECT_EQ(groups.childIs(*sm, "10", {}), group);
   EXPECT_TRUE(sm->groupByAttr0(10)->collHas("red"));
   vrfs.memberDel(*group, "red");
   EXPECT_TRUE(sm->groupByAttr0(10)->coll().empty());
   groups.memberDel(*sm, "10");
   EXPECT_FALSE(sm->groupByAttr0(10));
}

TEST_F(TransitIntfSmRows, AGroupAnnouncesItsVrfs) {
   startQuietly();
   auto const group = Pelk::makePtr<TransitIntfSm::GroupByCollectionValueType0>();
   NotificationRecorder const recorder(*group);
   group->collIs("red");
   group->collIs("red");
   group->collDel("blue");
   group->collDel("red");
   group->collIs("green");
   group->collDelAll();
   EXPECT_EQ(recorder.texts(),
             (std::vector<std::string>{"coll[red]", "coll[red] removed", "coll[green]",
                                       "coll[green] removed"}));
}

TEST_F(TransitIntfSmRows, EachOutputIsReadyByItsOwnName) {
   startQuietly();
   auto const state =
      Pelk::makePtr<Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::OutputState>();
   auto const& all = row(*state, "ready");
   for (auto const* name : {"membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady",
                            "membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady",
                            "transitIntfCollIntfOutputReady",
                            "membershipJoinStatusVlanRouterIntfOutputReady"}) {
      EXPECT_EQ(all.get(*state), "false");
      EXPECT_EQ(row(*state, name).get(*state), "false") << name;
      row(*state, name).set(*state, "true");
      EXPECT_EQ(row(*state, name).get(*state), "true") << name;
   }
   EXPECT_EQ(all.get(*state), "true");
   all.set(*state, "false");
   EXPECT_EQ(all.get(*state), "false");
}

TEST_F(TransitIntfSmRows, EachScanIsDoneByItsOwnName) {
   auto const state =
      Pelk::makePtr<Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::InputSmScanState>();
   size_t written = 0;
   for (auto const& attribute : state->entityType().attributes) {
      if (attribute.set != nullptr) {
         EXPECT_EQ(attribute.get(*state), "false") << attribute.name;
         attribute.set(*state, "true");
         EXPECT_EQ(attribute.get(*state), "true") << attribute.name;
         ++written;
      }
   }
   EXPECT_EQ(written, 6u);
}

} // namespace
