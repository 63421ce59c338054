#include "dualo/FmtDualo.h"

#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/AddressFamily.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "mlag/MlagState.h"
#include "support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <string>

namespace {

using Support::isLine;
using Support::TraceRecorder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto* kFile = "McastVpnLib/McastVpnTransitSm";

// An argument that counts how often it is evaluated and how often it is printed.
struct Counted {
   int value;
   int* prints;
};
std::ostream& operator<<(std::ostream& out, Counted const& counted) {
   ++*counted.prints;
   return out << counted.value;
}

class DualoTest : public testing::Test {
 protected:
   Counted next() { return {++evaluations, &prints}; }
   std::vector<std::string> ringTexts() const {
      std::vector<std::string> texts;
      for (auto const& record : ring->records()) {
         texts.push_back(record.text);
      }
      return texts;
   }

   TraceRecorder text{std::string_view("4,8")};
   Pelk::TraceHandler handler{"McastVpn::Transit"};
   Pelk::Ptr<Fennlog::TraceHandle> ring =
      Pelk::makePtr<Fennlog::TraceHandle>(Fennlog::TraceHandle::kMinBytes);
   int evaluations = 0;
   int prints = 0;
};

TEST_F(DualoTest, WritesTheMessageToBoth) {
   DUALO(ring, handler, 4, kFile, "updateTransitIntf( %s ), create transit intf: %s",
         Lidra::AddressFamily::ipv4, Lidra::IntfId("Vlan10"));
   uint32_t const line = __LINE__ - 1;
   ASSERT_THAT(
      text.lines(),
      ElementsAre(isLine(__func__, 4,
                         "updateTransitIntf( ipv4 ), create transit intf: Vlan10")));
   EXPECT_EQ(text.lines()[0].name, "McastVpn::Transit");
   EXPECT_EQ(text.lines()[0].file, kFile);
   EXPECT_NEAR(text.lines()[0].line, line, 1);
   EXPECT_THAT(ringTexts(),
               ElementsAre("updateTransitIntf( ipv4 ), create transit intf: Vl10"));
   EXPECT_EQ(ring->records()[0].level, 4);
}

TEST_F(DualoTest, EvaluatesEachArgumentOnceForBoth) {
   DUALO(ring, handler, 4, kFile, "%s", next());
   EXPECT_EQ(evaluations, 1);
   EXPECT_EQ(prints, 1) << "the ring prints nothing when it is written";
   EXPECT_THAT(ringTexts(), ElementsAre("1"));
   EXPECT_EQ(prints, 2);
   EXPECT_THAT(text.texts(), ElementsAre("1"));
}

TEST_F(DualoTest, EvaluatesNoArgumentWhenBothAreOff) {
   ring->levelsIs(Pelk::TraceLevels::of(4));
   DUALO(ring, handler, 7, kFile, "%s", next());
   DUALO_AS(ring, handler, 7, kFile, "function", "%s", next());
   Pelk::Ptr<Fennlog::TraceHandle> const none;
   DUALO(none, handler, 7, kFile, "%s", next());
   DUALO_ALWAYS(none, handler, 7, kFile, "%s", next());
   DUALO_FMT_ALWAYS(none, handler, 7, kFile, "{}", ++evaluations);
   EXPECT_EQ(evaluations, 0);
   EXPECT_TRUE(text.empty());
   EXPECT_THAT(ringTexts(), IsEmpty());
}

TEST_F(DualoTest, WritesToTheRingAloneWhenTheTextIsOff) {
   DUALO(ring, handler, 7, kFile, "%s", next());
   EXPECT_EQ(evaluations, 1);
   EXPECT_EQ(prints, 0);
   EXPECT_TRUE(text.empty());
   EXPECT_THAT(ringTexts(), ElementsAre("1"));
}

TEST_F(DualoTest, WritesToTheTextAloneWhenTheRingIsOffOrNull) {
   ring->levelsIs(Pelk::TraceLevels());
   DUALO(ring, handler, 4, kFile, "%s", next());
   DUALO(Pelk::Ptr<Fennlog::TraceHandle>(), handler, 4, kFile, "%s", next());
   EXPECT_EQ(evaluations, 2);
   EXPECT_THAT(text.texts(), ElementsAre("1", "2"));
   EXPECT_EQ(ring->written(), 0u);
}

TEST_F(DualoTest, ASiteThatAlwaysWritesHeedsTheLevelForTheTextOnly) {
   ring->levelsIs(Pelk::TraceLevels());
   DUALO_ALWAYS(ring, handler, 4, kFile, "%s", next());
   DUALO_ALWAYS(ring, handler, 7, kFile, "%s", next());
   EXPECT_THAT(ringTexts(), ElementsAre("1", "2"));
   EXPECT_THAT(text.texts(), ElementsAre("1"));
}

TEST_F(DualoTest, ReplacesThePlacesForwardSoThatOneInAnArgumentStays) {
   DUALO(ring, handler, 8, kFile, "handleTransitVrf( %s ), vrf: %s",
         L3::VrfName("%s %x"), L3::VrfName("red"));
   EXPECT_THAT(text.texts(), ElementsAre("handleTransitVrf( %s %x ), vrf: red"));
   EXPECT_THAT(ringTexts(), ElementsAre("handleTransitVrf( %s %x ), vrf: red"));
}

TEST_F(DualoTest, PrintsAHexPlaceInHexadecimal) {
   DUALO(ring, handler, 8, kFile, "%x %s %x", 255, 255, uint16_t{16});
   EXPECT_THAT(text.texts(), ElementsAre("ff 255 10"));
   EXPECT_THAT(ringTexts(), ElementsAre("ff 255 10"));
}

TEST_F(DualoTest, TakesValueTypes) {
   DUALO(ring, handler, 4, kFile, "vtepAddr for transit interface : %s",
         Lidra::IpGenAddr("10.0.0.1"));
   DUALO(ring, handler, 4, kFile,
         "updateTransitIntf: Adding (%s, *, * ) to transit membershipJoinStatus",
         Bridging::VlanId(10));
   EXPECT_THAT(text.texts(),
               ElementsAre("vtepAddr for transit interface : 10.0.0.1",
                           "updateTransitIntf: Adding (10, *, * ) to transit "
                           "membershipJoinStatus"));
   EXPECT_EQ(ringTexts(), text.texts());
}

TEST_F(DualoTest, ShowsADifferingArgumentInEitherForm) {
   auto const state = Mlag::MlagState::active;
   DUALO(ring, handler, 8, kFile, "handleMlagState: Mlag State: %s",
         Dualo::differing(static_cast<uint32_t>(state), state));
   DUALO(ring, handler, 8, kFile, "%s", Dualo::differing(std::string("ring"), "text"));
   EXPECT_THAT(text.texts(),
               ElementsAre("handleMlagState: Mlag State: active", "text"));
   EXPECT_THAT(ringTexts(), ElementsAre("handleMlagState: Mlag State: 3", "ring"));
}

TEST_F(DualoTest, NamesTheFunctionThatIsGiven) {
   DUALO_AS(ring, handler, 8, kFile, "handleVtepAddr", "no arguments");
   EXPECT_THAT(text.lines(), ElementsAre(isLine("handleVtepAddr", 8, "no arguments")));
}

TEST_F(DualoTest, TakesTheRingAsAPointerToo) {
   DUALO(ring.get(), handler, 8, kFile, "message");
   EXPECT_THAT(ringTexts(), ElementsAre("message"));
}

TEST_F(DualoTest, WithBracesWritesToTheRingAlwaysAndToTheTextAtItsLevel) {
   ring->levelsIs(Pelk::TraceLevels());
   for (bool const isOn : {true, false}) {
      handler.levelsIs(isOn ? Pelk::TraceLevels::of(4) : Pelk::TraceLevels());
      DUALO_FMT_ALWAYS(
         ring, handler, 4, kFile, "transit vlan: {} for VRF: {:} enabled: {} {{}}",
         static_cast<uint16_t>(++evaluations), std::string_view("red"), isOn);
   }
   EXPECT_EQ(evaluations, 2);
   EXPECT_THAT(text.lines(),
               ElementsAre(isLine(__func__, 4,
                                  "transit vlan: 1 for VRF: red enabled: true {}")));
   EXPECT_THAT(ringTexts(),
               ElementsAre("transit vlan: 1 for VRF: red enabled: true {}",
                           "transit vlan: 2 for VRF: red enabled: false {}"));
}

TEST_F(DualoTest, WithBracesNamesTheFunctionThatIsGiven) {
   DUALO_FMT_ALWAYS_AS(ring, handler, 4, kFile, "eventToTransitVlanStream", "v {}", 1);
   EXPECT_THAT(text.lines(), ElementsAre(isLine("eventToTransitVlanStream", 4, "v 1")));
}

} // namespace
