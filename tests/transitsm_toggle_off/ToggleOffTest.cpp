#include "support/TransitFixture.h"
#include "zin/Toggle.h"

namespace {

using namespace Support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// The reactor asks once a process, so the toggle is off for all of this program.
class ToggleOff final : public testing::Environment {
 public:
   void SetUp() override {
      Zin::ToggleSource::overrideIs("McastVpnTransitMlag", false);
   }
};
testing::Environment* const environment =
   testing::AddGlobalTestEnvironment(new ToggleOff);

class TransitSmToggleOff : public TransitTest {
 protected:
   TransitSmToggleOff() { joinsEnabled = false; }
};

TEST_F(TransitSmToggleOff, AQualifyingVlanHasAnInterfaceAndNoJoin) {
   map("red", 10);
   startQuietly();
   transit("red");
   EXPECT_THAT(log.take(),
               ElementsAre(transitVrfChanged("red"), evaluating(10), enabledBy("red"),
                           creating(10), choosing(kLocal), "+ intf[Vlan10]"));
   EXPECT_FALSE(hasJoin(10));
}

TEST_F(TransitSmToggleOff, RemovalTakesTheInterfaceAloneAndLeavesForeignJoins) {
   transit("red");
   map("red", 10);
   joins->vlanIs(10)->routerIntfIs(Lidra::IntfId("Ethernet1"));
   startQuietly();
   config->transitVrfDel("red");
   EXPECT_THAT(log.take(), ElementsAre(transitVrfChanged("red"), evaluating(10),
                                       deleting(10), "- intf[Vlan10]"));
   EXPECT_EQ(outputs().at("join 10"), "router Ethernet1");
   excuse("join 10", Path::kForeignEntry);
}

TEST_F(TransitSmToggleOff, MlagState4WithdrawsTheInterfaceWithoutATrace) {
   transit("red");
   map("red", 10);
   startQuietly();
   mlagIs(4);
   EXPECT_THAT(log.take(),
               ElementsAre("8 handleMlagState: handleMlagState: Mlag State: withheld",
                           transitVrfChanged("red"), evaluating(10), enabledBy("red"),
                           "- intf[Vlan10]"));
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitSmToggleOff, TheAddressIsChosenAllTheSame) {
   transit("red");
   map("red", 10);
   startQuietly();
   mlagIs(3);
   EXPECT_EQ(addressOf(10), kShared);
}

TEST_F(TransitSmToggleOff, TheToggleIsReadOnceAProcess) {
   transit("red");
   map("red", 10);
   startQuietly();
   Zin::ToggleSource::overrideIs("McastVpnTransitMlag", true);
   map("red", 20);
   Zin::ToggleSource::overrideIs("McastVpnTransitMlag", false);
   EXPECT_FALSE(hasJoin(20));
   EXPECT_EQ(addressOf(20), kLocal);
}

} // namespace
