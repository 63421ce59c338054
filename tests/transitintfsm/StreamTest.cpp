#include "support/DataflowFixture.h"

namespace {

using namespace Support;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char const* kNotVxlan1 =
   "filter( ( vtiIntf == Lidra::IntfId( \"Vxlan1\" ) ) ) failed, terminating pipeline";

class TransitIntfSmStreams : public DataflowTest {
 protected:
   // What the function traced, with the level.
   Events linesOf(std::string const& function) {
      Events lines;
      for (auto const& event : log.take()) {
         auto const mark = event.find(' ' + function + ": ");
         if (mark == 1) {
            lines.push_back(event.substr(0, 2) +
                            event.substr(mark + function.size() + 3));
         }
      }
      return lines;
   }
   // The evaluations that an event led to.
   Events evaluations() {
      Events found;
      for (auto const& event : log.take()) {
         std::string const mark = "pegVlanStream ): ";
         if (auto const at = event.find(mark); at != std::string::npos) {
            found.push_back(event.substr(at + mark.size()));
         }
      }
      return found;
   }
   static std::string evaluated(uint16_t vlanId, char const* vrf, bool addDel) {
      return "sbdVlan=" + std::to_string(vlanId) + " vrfName=" + vrf +
             " addDel=" + (addDel ? "true" : "false");
   }
   static constexpr char const* kVtiFlattening =
      "6  foreach( [ ( if ( _oldValueOpt1 != _newValueOpt2 ) then _oldValueOpt1 else "
      "None, false ), ( _newValueOpt2, true ) ] ) flattening 2 elements";
   static constexpr char const* kAbsent =
      "6 filter( _valueOpt3 ) failed, terminating pipeline";
   static std::string vtiText(std::string const& before, std::string const& now,
                              std::string const& intf = "Vxlan1") {
      return "7 vtiStatusStream = from( vtiStatusDir.vtiStatus[].vrfToSBDVlan[] ): "
             "vtiIntf=" +
             intf + " vrfName=red oldSbdVlan=" + before + " newSbdVlan=" + now;
   }
};

TEST_F(TransitIntfSmStreams, AMoveLeavesTheOldVlanBeforeItJoinsTheNewOne) {
   map("red", 10);
   startQuietly();
   map("red", 20);
   EXPECT_THAT(evaluations(),
               ElementsAre(evaluated(10, "red", false), evaluated(20, "red", true)));
   map("red", 10);
   EXPECT_THAT(linesOf("eventToVtiStatusStream"),
               ElementsAre(vtiText("Optional( 20 )", "Optional( 10 )"), kVtiFlattening,
                           "9 Flattening element: Tuple( Optional( 20 ), 0 )",
                           "9 Flattening element: Tuple( Optional( 10 ), 1 )"));
}

TEST_F(TransitIntfSmStreams, TheSameVlanAgainIsEvaluatedOnce) {
   map("red", 10);
   startQuietly();
   map("red", 10);
   EXPECT_THAT(linesOf("eventToVtiStatusStream"),
               ElementsAre(vtiText("Optional( 10 )", "Optional( 10 )"), kVtiFlattening,
                           "9 Flattening element: Tuple( None, 0 )", kAbsent,
                           "9 Flattening element: Tuple( Optional( 10 ), 1 )"));
   map("red", 10);
   EXPECT_THAT(evaluations(), ElementsAre(evaluated(10, "red", true)));
}

TEST_F(TransitIntfSmStreams, ARemovedEntryLeavesItsVlanAndFailsOneFilter) {
   map("red", 10);
   startQuietly();
   status->vrfToSBDVlanDel("red");
   auto const lines = linesOf("eventToVtiStatusStream");
   EXPECT_THAT(lines, ElementsAre(vtiText("Optional( 10 )", "None"), kVtiFlattening,
                                  "9 Flattening element: Tuple( Optional( 10 ), 0 )",
                                  "9 Flattening element: Tuple( None, 1 )", kAbsent));
}

TEST_F(TransitIntfSmStreams, ANewEntryFailsOneFilterAndJoinsItsVlan) {
   startQuietly();
   map("red", 20);
   EXPECT_THAT(linesOf("eventToVtiStatusStream"),
               ElementsAre(vtiText("None", "Optional( 20 )"), kVtiFlattening,
                           "9 Flattening element: Tuple( None, 0 )", kAbsent,
                           "9 Flattening element: Tuple( Optional( 20 ), 1 )"));
}

TEST_F(TransitIntfSmStreams, AnyOtherTunnelInterfaceIsDropped) {
   auto const other = statusNew("Vxlan2");
   dir->vtiStatusIs(other);
   startQuietly();
   other->vrfToSBDVlanIs("red", 20);
   EXPECT_THAT(linesOf("eventToVtiStatusStream"),
               ElementsAre(vtiText("None", "Optional( 20 )", "Vxlan2"),
                           std::string("6 ") + kNotVxlan1));
   other->localVtepAddrIs(Lidra::IpAddr("9.9.9.9"));
   EXPECT_THAT(linesOf("eventToVtepAddrChangeStream"),
               ElementsAre("7 vtepAddrChangeStream = from( vtiStatusDir.vtiStatus[].{ "
                           "localVtepAddr, mlagVtepAddr } ): vtiIntf=Vxlan2",
                           std::string("6 ") + kNotVxlan1));
}

TEST_F(TransitIntfSmStreams, AnMlagChangeWithoutTransitVrfsFlattensNothing) {
   startQuietly();
   mlagIs(3);
   EXPECT_THAT(log.take(),
               ElementsAre("7 eventToMlagStream: mlagStream = from( "
                           "mlagStatus.mlagState ):",
                           "6 eventToMlagStream:  foreach( mcastEvpnConfig.transitVrf "
                           ") flattening 0 elements"));
}

TEST_F(TransitIntfSmStreams, AnMlagChangeEvaluatesEveryTransitVrfInTheSetsOrder) {
   for (auto const* vrf : {"red", "blue", "default", "green"}) {
      transit(vrf);
   }
   map("red", 10);
   startQuietly();
   mlagIs(2);
   Events vrfs;
   for (auto const& entry : config->transitVrf()) {
      vrfs.push_back("9 Flattening element: " + std::string(entry.key().view()));
   }
   auto const lines = linesOf("eventToMlagStream");
   EXPECT_THAT(Events(lines.begin() + 2, lines.end()), ElementsAreArray(vrfs));
}

TEST_F(TransitIntfSmStreams, AVrfWithoutAnEntryEndsAtTheSecondFilter) {
   startQuietly();
   transit("red");
   EXPECT_THAT(
      log.take(),
      ElementsAre(
         "8 handleTransitVrf0: k: red",
         "7 eventToTransitCfgStream: transitCfgStream = from( "
         "mcastEvpnConfig.transitVrf[] ): vrfName=red",
         "7 eventToVrfStream: vrfStream = merge( transitCfgStream, "
         "vtepAddrChangeStream, mlagStream ): vrfName=red",
         "6 eventToVrfStream: filter( sbdVlan ) failed, terminating pipeline"));
}

TEST_F(TransitIntfSmStreams, WithoutTheStatusPegVlansAndVrfsEndAtTheFirstFilter) {
   dir->vtiStatusDelAll();
   startQuietly();
   peg->pegVlanIs(10);
   EXPECT_THAT(
      log.take(),
      ElementsAre(
         "8 handlePegVlan4: k: 10",
         "7 eventToPegVlanStream: pegVlanStream = from( pegVlanStatus.pegVlan[] ): "
         "vlanId=10",
         "6 eventToPegVlanStream: filter( vx1Status ) failed, terminating pipeline"));
   transit("red");
   EXPECT_THAT(linesOf("eventToVrfStream"),
               Contains("6 filter( vx1Status ) failed, terminating pipeline"));
}

TEST_F(TransitIntfSmStreams, APegVlanEventSaysSomethingOfEveryVrf) {
   map("red", 10);
   map("blue", 20);
   startQuietly();
   for (bool const present : {true, false}) {
      if (present) {
         peg->pegVlanIs(10);
      } else {
         peg->pegVlanDel(10);
      }
      Events expected{
         "7 pegVlanStream = from( pegVlanStatus.pegVlan[] ): vlanId=10",
         "6  foreach( ( *vx1Status ).vrfToSBDVlan ) flattening 2 elements"};
      for (auto const& entry : status->vrfToSBDVlan()) {
         expected.push_back("9 Flattening element: " + std::string(entry.key().view()));
         if (entry.key() == L3::VrfName("blue")) {
            expected.emplace_back("6 filter( ( vlanId.value == sbdVlan.value ) ) "
                                  "failed, terminating pipeline");
         }
      }
      EXPECT_THAT(linesOf("eventToPegVlanStream"), ElementsAreArray(expected));
   }
}

// Whether each VRF is walked or an index is asked, the same VLANs are evaluated for the
// same VRFs in the same order.
TEST_F(TransitIntfSmStreams, APegVlanEventEvaluatesItsVrfsInTheMapsOrder) {
   for (int i = 0; i < 40; ++i) {
      auto const vrf = "vrf with a name that is long " + std::to_string(i);
      map(vrf.c_str(), i % 2 == 0 ? 10 : 20);
   }
   startQuietly();
   auto const expectEach = [&] {
      Events expected;
      for (auto const& entry : status->vrfToSBDVlan()) {
         if (entry.value().value() == 10) {
            expected.push_back(
               evaluated(10, std::string(entry.key().view()).c_str(), true));
         }
      }
      for (auto const* levels : {"all", "7"}) {
         Pelk::Trace::levelsIs(Pelk::TraceLevels::fromText(levels));
         log.take();
         peg->pegVlanIs(10);
         EXPECT_THAT(evaluations(), ElementsAreArray(expected)) << levels;
         peg->pegVlanDel(10);
         EXPECT_THAT(evaluations(), ElementsAreArray(expected)) << levels;
      }
   };
   expectEach();
   for (int i = 0; i < 40; i += 3) {
      auto const vrf = "vrf with a name that is long " + std::to_string(i);
      map(vrf.c_str(), i % 4 == 0 ? 20 : 10);
   }
   status->vrfToSBDVlanDel("vrf with a name that is long 2");
   expectEach();
}

TEST_F(TransitIntfSmStreams, NoStreamDoesAnythingBeforeTheInitialScanIsDone) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   ASSERT_FALSE(sm->initialScanDone());
   log.take();
   sm->eventToTransitCfgStream("red", {});
   sm->eventToVtepAddrChangeStream(vxlan1(), {});
   sm->eventToMlagStream(Mlag::MlagState::active);
   sm->eventToPegVlanStream(10, {});
   sm->eventToVtiStatusStream(vxlan1(), "red", {}, 10);
   sm->eventToVrfStream("red");
   sm->eventToTransitVlanStream(10, "red", true);
   EXPECT_THAT(log.take(), IsEmpty());
   EXPECT_TRUE(sm->groupByAttr0().empty());
   scheduler->runUntilIdle();
}

TEST_F(TransitIntfSmStreams, TraceOfAStreamNamesTheMachineAndItsSource) {
   startQuietly();
   sm->eventToMlagStream(Mlag::MlagState::active);
   EXPECT_EQ(log.origin(), "several"); // input machines trace by names of their own
   EventLog own;
   sm->eventToMlagStream(Mlag::MlagState::active);
   EXPECT_EQ(own.origin(), "TransitIntfSm McastVpnLib/TransitIntfSm");
}

TEST_F(TransitIntfSmStreams, AWalkOverVrfsIsTracedIfAnyOfItsLevelsIsOn) {
   map("red", 10);
   map("blue", 20);
   startQuietly();
   for (auto const* level : {"6", "9"}) {
      Pelk::Trace::levelsIs(Pelk::TraceLevels::fromText(level));
      sm->eventToPegVlanStream(10, {});
      auto const traced = log.takeTraced();
      EXPECT_EQ(std::ranges::count_if(traced,
                                      [](auto const& line) {
                                         return line.find(" eventToPegVlanStream: ") !=
                                                std::string::npos;
                                      }),
                2)
         << level;
   }
}

TEST_F(TransitIntfSmStreams, AVrfThatIsGroupedIsTracedByItsStream) {
   startQuietly();
   Pelk::Trace::levelsIs(Pelk::TraceLevels::fromText("6"));
   sm->eventToTransitVlanStream(10, "red", true);
   EXPECT_THAT(
      log.takeTraced(),
      testing::Contains("6 eventToTransitVlanStream: Inserting value Unit with "
                        "key red into groupby collection with key 10"));
   sm->eventToTransitVlanStream(10, "red", false);
   EXPECT_THAT(log.takeTraced(),
               testing::Contains("6 eventToTransitVlanStream: Deleting key red from "
                                 "groupby collection with key 10"));
}

TEST_F(TransitIntfSmStreams, NothingIsSaidAtLevelsThatAreOff) {
   transitOn("red", 10);
   startQuietly();
   Pelk::Trace::levelsIs(Pelk::TraceLevels::fromText("5"));
   map("red", 20);
   mlagIs(3);
   peg->pegVlanIs(20);
   EXPECT_THAT(log.takeTraced(), IsEmpty());
   EXPECT_EQ(addressOf(20), kShared);
}

} // namespace
