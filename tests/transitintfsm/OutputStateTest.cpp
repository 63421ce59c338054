#include "McastVpnLib/TransitIntfSm/OutputState.h"

#include "McastVpnLib/TransitIntfSm/InputSmScanState.h"
#include "support/NotificationRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm;
using Support::NotificationRecorder;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<int16_t> idsOf(Zin::EntityType const& type) {
   std::vector<int16_t> ids;
   for (auto const& attribute : type.attributes) {
      ids.push_back(attribute.id);
   }
   return ids;
}

TEST(OutputState, AttributesHaveTheirFrozenIds) {
   EXPECT_THAT(idsOf(OutputState::type()), ElementsAre(130, 131, 132, 133, 134));
   EXPECT_THAT(idsOf(InputSmScanState::type()),
               ElementsAre(131, 132, 133, 134, 135, 136));
}

TEST(OutputState, IsReadyWithTheFourthFlagAndSaysSoBeforeTheFlag) {
   auto const state = outputStateFactory();
   NotificationRecorder recorder(*state);
   state->transitIntfCollIntfOutputReadyIs(true);
   state->membershipJoinStatusVlanRouterIntfOutputReadyIs(true);
   state->membershipJoinStatusVlanGroupSourceExcludeIntfOutputReadyIs(true);
   EXPECT_FALSE(state->ready());
   EXPECT_EQ(recorder.take().size(), 3u);
   state->membershipJoinStatusVlanGroupSourceIncludeIntfOutputReadyIs(true);
   EXPECT_TRUE(state->ready());
   EXPECT_THAT(
      recorder.take(),
      ElementsAre("ready = true",
                  "membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady = true"));
   state->transitIntfCollIntfOutputReadyIs(false);
   EXPECT_THAT(recorder.take(),
               ElementsAre("ready = false", "transitIntfCollIntfOutputReady = false"));
}

TEST(OutputState, TheSameValueAgainIsNotAnnounced) {
   auto const state = outputStateFactory();
   NotificationRecorder const recorder(*state);
   state->transitIntfCollIntfOutputReadyIs(false);
   state->readyIs(false);
   state->handleReady();
   EXPECT_THAT(recorder.texts(), IsEmpty());
}

TEST(OutputState, MayGoWhileItSaysThatItIsReady) {
   auto state = outputStateFactory();
   state->transitIntfCollIntfOutputReadyIs(true);
   state->membershipJoinStatusVlanRouterIntfOutputReadyIs(true);
   state->membershipJoinStatusVlanGroupSourceExcludeIntfOutputReadyIs(true);
   NotificationRecorder recorder(*state);
   auto* const raw = state.get();
   recorder.actionIs([&] { state = nullptr; });
   raw->membershipJoinStatusVlanGroupSourceIncludeIntfOutputReadyIs(true);
   EXPECT_EQ(recorder.texts().size(), 2u);
}

TEST(InputSmScanState, RepublishAnnouncesTheFlagsThatAreSet) {
   auto const state = Pelk::makePtr<InputSmScanState>();
   state->transitCfgStreamScanIs(true);
   state->pegVlanStreamScanIs(true);
   state->idleIs(true);
   NotificationRecorder recorder(*state);
   state->republish();
   EXPECT_THAT(recorder.take(),
               ElementsAre("pegVlanStreamScan = true", "transitCfgStreamScan = true"));
   state->pegVlanStreamScanIs(true);
   EXPECT_THAT(recorder.take(), IsEmpty());
}

} // namespace
