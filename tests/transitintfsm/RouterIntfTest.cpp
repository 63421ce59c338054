#include "McastVpnLib/TransitIntfSm/outputs/NamedOutputs.h"
#include "support/DataflowFixture.h"

namespace {

using namespace Support;
using Irb::Multicast::Evpn::RouterIntfOutput;
using testing::IsEmpty;

// No stream inserts a router interface today; the output knows how, as the others do.
class RouterIntf : public DataflowTest {
 protected:
   void insert(bool const& overtaken) {
      RouterIntfOutput::insert(*sm, "test", {10, Lidra::IntfId("Ethernet1")}, {},
                               overtaken);
   }
   bool stands() const {
      auto const vlan = joins->vlan(10);
      return vlan && vlan->routerIntf().contains(Lidra::IntfId("Ethernet1"));
   }
};

TEST_F(RouterIntf, IsInsertedWithItsVlanAndRemovedWithIt) {
   startQuietly();
   insert(false);
   EXPECT_TRUE(stands());
   insert(false);
   EXPECT_EQ(joins->vlan().size(), 1u);
   RouterIntfOutput::remove(*sm, "test", {10, Lidra::IntfId("Ethernet1")});
   EXPECT_TRUE(joins->vlan().empty());
}

TEST_F(RouterIntf, LeavesNoVlanBehindIfAYoungerDecisionWasMadeMeanwhile) {
   startQuietly();
   bool overtaken = false;
   log.actionIs([&](std::string const& event) {
      overtaken = overtaken || event == "+ vlan[10]";
   });
   insert(overtaken);
   EXPECT_TRUE(overtaken);
   EXPECT_TRUE(joins->vlan().empty());
}

TEST_F(RouterIntf, GivesWayToOneWhoTakesItsVlanAwayEachTime) {
   startQuietly();
   int times = 0;
   log.actionIs([&](std::string const& event) {
      if (event == "+ vlan[10]") {
         ++times;
         joins->vlanDel(10);
      }
   });
   insert(false);
   EXPECT_EQ(times, 2);
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(RouterIntf, StandsIfItsVlanIsTakenAwayOnce) {
   startQuietly();
   bool isFirst = true;
   log.actionIs([&](std::string const& event) {
      if (event == "+ vlan[10]" && std::exchange(isFirst, false)) {
         joins->vlanDel(10);
      }
   });
   insert(false);
   EXPECT_TRUE(stands());
   joins->vlanDel(10);
}

} // namespace
