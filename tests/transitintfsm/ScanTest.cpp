#include "support/DataflowFixture.h"
#include "support/DeathMessages.h"

#include <algorithm>
#include <array>

namespace {

using namespace Support;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using ScanState = TransitIntfSm::InputSmScanState;

// What the contract cases ask of one scan. fill() makes members; none of the other
// inputs has more than one.
struct ConfigScan {
   using Machine = TransitIntfSm::McastEvpnConfigSm0;
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-McastEvpnConfigSm0InputScanTask0";
   static constexpr char const* kUnit = "McastEvpnConfigSm0 transitVrf";
   static constexpr char const* kHandled = "8 handleTransitVrf0: k: ";
   template <typename Fixture>
   static void fill(Fixture& test, uint16_t members) {
      for (uint16_t n = 0; n < members; ++n) {
         test.config->transitVrfIs(L3::VrfName("vrf" + std::to_string(n)));
      }
   }
   static auto task(TransitIntfSm& sm) { return sm.mcastEvpnConfigSm0()->task0(); }
   static uint32_t state(TransitIntfSm& sm) {
      return sm.mcastEvpnConfigSm0()->inputScanState0();
   }
   static bool complete(TransitIntfSm& sm) {
      return sm.mcastEvpnConfigSm0()->inputScanComplete0();
   }
   static bool scanned(ScanState const& state) { return state.transitCfgStreamScan(); }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm.mcastEvpnConfigSm0()->task0Is(args...);
   }
   static bool inTask(TransitIntfSm& sm) { return sm.mcastEvpnConfigSm0()->inTask0(); }
   static bool shouldYield(TransitIntfSm& sm) {
      return sm.mcastEvpnConfigSm0()->shouldYield0();
   }
   static void scan(TransitIntfSm::McastEvpnConfigSm0& machine) {
      machine.doInputScan0();
   }
};

struct PegScan {
   using Machine = TransitIntfSm::PegVlanStatusSm4;
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-PegVlanStatusSm4InputScanTask4";
   static constexpr char const* kUnit = "PegVlanStatusSm4 pegVlan";
   static constexpr char const* kHandled = "8 handlePegVlan4: k: ";
   template <typename Fixture>
   static void fill(Fixture& test, uint16_t members) {
      for (uint16_t n = 0; n < members; ++n) {
         test.peg->pegVlanIs(static_cast<uint16_t>(100 + n));
      }
   }
   static auto task(TransitIntfSm& sm) { return sm.pegVlanStatusSm4()->task4(); }
   static uint32_t state(TransitIntfSm& sm) {
      return sm.pegVlanStatusSm4()->inputScanState4();
   }
   static bool complete(TransitIntfSm& sm) {
      return sm.pegVlanStatusSm4()->inputScanComplete4();
   }
   static bool scanned(ScanState const& state) { return state.pegVlanStreamScan(); }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm.pegVlanStatusSm4()->task4Is(args...);
   }
   static bool inTask(TransitIntfSm& sm) { return sm.pegVlanStatusSm4()->inTask4(); }
   static bool shouldYield(TransitIntfSm& sm) {
      return sm.pegVlanStatusSm4()->shouldYield4();
   }
   static void scan(TransitIntfSm::PegVlanStatusSm4& machine) {
      machine.doInputScan4();
   }
};

struct AddressScan {
   using Machine = TransitIntfSm::VtiStatusDirSm1;
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-VtiStatusDirSm1InputScanTask1";
   static constexpr char const* kUnit = "VtiStatusDirSm1 child";
   static constexpr char const* kHandled = "8 handleVtiStatus1: k: ";
   template <typename Fixture>
   static void fill(Fixture& test, uint16_t members) {
      test.dir->vtiStatusDelAll();
      for (uint16_t n = 1; n <= members; ++n) {
         test.dir->vtiStatusIs(
            Fixture::statusNew(("Vxlan" + std::to_string(n)).c_str()));
      }
   }
   static auto task(TransitIntfSm& sm) { return sm.vtiStatusDirSm1()->task1(); }
   static uint32_t state(TransitIntfSm& sm) {
      return sm.vtiStatusDirSm1()->inputScanState1();
   }
   static bool complete(TransitIntfSm& sm) {
      return sm.vtiStatusDirSm1()->inputScanComplete1();
   }
   static bool scanned(ScanState const& state) {
      return state.vtepAddrChangeStreamScan();
   }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm.vtiStatusDirSm1()->task1Is(args...);
   }
   static bool inTask(TransitIntfSm& sm) { return sm.vtiStatusDirSm1()->inTask1(); }
   static bool shouldYield(TransitIntfSm& sm) {
      return sm.vtiStatusDirSm1()->shouldYield1();
   }
   static void scan(TransitIntfSm::VtiStatusDirSm1& machine) { machine.doInputScan1(); }
};

struct MappingScan : AddressScan {
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-VtiStatusDirSm1InputScanTask3";
   static constexpr char const* kHandled = "8 handleVtiStatus3: k: ";
   static auto task(TransitIntfSm& sm) { return sm.vtiStatusDirSm1()->task3(); }
   static uint32_t state(TransitIntfSm& sm) {
      return sm.vtiStatusDirSm1()->inputScanState3();
   }
   static bool complete(TransitIntfSm& sm) {
      return sm.vtiStatusDirSm1()->inputScanComplete3();
   }
   static bool scanned(ScanState const& state) { return state.vtiStatusStreamScan(); }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm.vtiStatusDirSm1()->task3Is(args...);
   }
   static bool inTask(TransitIntfSm& sm) { return sm.vtiStatusDirSm1()->inTask3(); }
   static bool shouldYield(TransitIntfSm& sm) {
      return sm.vtiStatusDirSm1()->shouldYield3();
   }
   static void scan(TransitIntfSm::VtiStatusDirSm1& machine) { machine.doInputScan3(); }
};

// Of a task that runs when no other is due.
constexpr Kolm::TaskPriority kLastPriority(1000);

// A machine without its input, whose scan is started.
template <typename Case>
void scanOfNothing(TransitIntfSm& sm) {
   auto const machine = Pelk::makePtr<typename Case::Machine>(nullptr);
   machine->parentIs(&sm);
   machine->handleInitialized();
   Case::scan(*machine);
}

// Whether the second pass of all scans but one is over.
bool allButOneAreComplete(TransitIntfSm const& sm) {
   std::array const states = {sm.mcastEvpnConfigSm0()->inputScanState0(),
                              sm.vtiStatusDirSm1()->inputScanState1(),
                              sm.mlagStatusSm3()->inputScanState2(),
                              sm.vtiStatusDirSm1()->inputScanState3(),
                              sm.pegVlanStatusSm4()->inputScanState4()};
   return std::ranges::count(states, 2u) == 4;
}

template <typename Case>
class InputScan : public DataflowTest {
 public:
   using DataflowTest::config;
   using DataflowTest::dir;
   using DataflowTest::peg;
   using DataflowTest::statusNew;

 protected:
   size_t handled(DataflowTest::Events const& events) const {
      return static_cast<size_t>(
         std::count_if(events.begin(), events.end(), [](auto const& event) {
            return event.starts_with(Case::kHandled);
         }));
   }
};

using Scans = testing::Types<ConfigScan, PegScan, AddressScan, MappingScan>;
TYPED_TEST_SUITE(InputScan, Scans, );

TYPED_TEST(InputScan, OverNothingIsOverAtOnceAndSetsItsFlag) {
   TypeParam::fill(*this, 0);
   this->template startAsync<Kolm::PollShare>(1u);
   EXPECT_TRUE(TypeParam::scanned(*this->sm->inputSmScanState()));
   EXPECT_EQ(TypeParam::state(*this->sm), 2u);
   EXPECT_TRUE(this->sm->ready());
}

TYPED_TEST(InputScan, HandlesEveryMemberTwiceInSlicesThatGoOnAtABookmark) {
   TypeParam::fill(*this, 5);
   this->template startAsync<Kolm::PollShare>(2u);
   EXPECT_FALSE(TypeParam::scanned(*this->sm->inputSmScanState()));
   EXPECT_EQ(TypeParam::state(*this->sm), 1u);
   EXPECT_FALSE(TypeParam::complete(*this->sm));
   auto const task = TypeParam::task(*this->sm);
   EXPECT_EQ(task->taskName(), TypeParam::kTask);
   EXPECT_EQ(task->taskWorkCount(), 2u);
   EXPECT_EQ(task->taskWorkPending(), 5u);
   EXPECT_TRUE(task->taskScheduled());
   auto events = this->log.take();
   EXPECT_EQ(this->handled(events), 2u);
   EXPECT_THAT(events, Contains(HasSubstr(std::string(TypeParam::kUnit) +
                                          " yielding after 2 iterations (5 total "
                                          "items)")));
   this->runUntilReady();
   events = this->log.take();
   EXPECT_EQ(this->handled(events), 8u);
   EXPECT_EQ(task->taskWorkCount(), 8u); // the last item of either pass is in no slice
   EXPECT_EQ(TypeParam::state(*this->sm), 2u);
   EXPECT_FALSE(TypeParam::task(*this->sm));
   EXPECT_EQ(task->subscribers(), 0u);
}

TYPED_TEST(InputScan, InterruptedAfterItsLastMemberIsOver) {
   TypeParam::fill(*this, 1);
   this->template startAsync<Kolm::PollShare>(1u);
   EXPECT_EQ(TypeParam::state(*this->sm), 2u);
   EXPECT_THAT(this->log.take(), Each(Not(HasSubstr("yielding"))));
   EXPECT_EQ(this->scheduler->pending(), 0u);
}

TYPED_TEST(InputScan, AScanThatYieldedGoesOnInItsTaskInTheSecondPass) {
   TypeParam::fill(*this, 3);
   this->template startAsync<Kolm::PollShare>(2u);
   while (!this->sm->initialScanDone()) {
      ASSERT_TRUE(this->scheduler->runSlice());
   }
   EXPECT_EQ(TypeParam::state(*this->sm), 3u);
   EXPECT_FALSE(TypeParam::complete(*this->sm));
   EXPECT_TRUE(TypeParam::task(*this->sm)->taskScheduled());
   EXPECT_FALSE(this->sm->ready());
   this->runUntilReady();
}

TYPED_TEST(InputScan, SynchronouslyHasNoTaskAndNeverYields) {
   TypeParam::fill(*this, 5);
   this->start();
   EXPECT_FALSE(TypeParam::task(*this->sm));
   EXPECT_FALSE(TypeParam::shouldYield(*this->sm));
   EXPECT_FALSE(TypeParam::inTask(*this->sm));
   EXPECT_EQ(this->handled(this->log.take()), 10u);
   EXPECT_EQ(TypeParam::state(*this->sm), 2u);
}

TYPED_TEST(InputScan, NoOutputIsReconciledBeforeItsSecondPassIsOver) {
   this->transitOn("red", 10);
   TypeParam::fill(*this, 20);
   this->template startAsync<Kolm::PollShare>(1u);
   auto& machine = *this->sm;
   TypeParam::taskIs(machine, this->scheduler, kLastPriority, Pelk::String("last"));
   size_t slicesAlone = 0;
   while (!machine.ready()) {
      if (machine.initialScanDone() && TypeParam::state(machine) != 2) {
         EXPECT_EQ(machine.transitIntfCollIntfOutputReconciliationState(), 3u);
         EXPECT_EQ(
            machine.membershipJoinStatusVlanRouterIntfOutputReconciliationState(), 3u);
         EXPECT_THAT(this->outputs(), IsEmpty());
         slicesAlone += allButOneAreComplete(machine) ? 1 : 0;
      }
      ASSERT_TRUE(this->scheduler->runSlice());
   }
   EXPECT_GT(slicesAlone, 0u); // this scan is what the outputs waited for
}

TYPED_TEST(InputScan, WithoutAnInputItEndsTheProcess) {
   this->startQuietly();
   EXPECT_DEATH(scanOfNothing<TypeParam>(*this->sm),
                assertionMessage("en() && \"Sm args can only be null if marked as "
                                 "Optional in the SM type declaration\""));
}

TYPED_TEST(InputScan, ATaskIsKeptOnlyIfAllThreeAreTheSame) {
   this->startQuietly();
   auto& machine = *this->sm;
   Pelk::String const name("a");
   auto const first =
      TypeParam::taskIs(machine, this->scheduler, Kolm::TaskPriority(5), name);
   EXPECT_EQ(TypeParam::taskIs(machine, this->scheduler, Kolm::TaskPriority(5), name),
             first);
   EXPECT_EQ(first->subscribers(), 1u);
   auto const second =
      TypeParam::taskIs(machine, this->scheduler, Kolm::TaskPriority(6), name);
   EXPECT_NE(second, first);
   EXPECT_EQ(first->subscribers(), 0u);
}

class TransitIntfSmInputs : public DataflowTest {};

// The scan whose flag is the last starts the second pass from inside, and runs its own
// there if its task has nothing pending, which ends the task: both are left alone when
// the publish returns.
TEST_F(TransitIntfSmInputs, TheLastScansSecondPassMayBeOverBeforeItsFirst) {
   transitOn("red", 10);
   transit("blue");
   startAsync<Kolm::PollShare>(1u);
   scheduler->shareIs(std::make_unique<Kolm::UnlimitedShare>());
   sm->mcastEvpnConfigSm0()->task0()->taskWorkPendingIs(0);
   log.take();
   runUntilReady();
   Events completions;
   for (auto const& event : log.take()) {
      if (event.starts_with("9 doInputScan0: ") && event.ends_with("complete.")) {
         completions.push_back(event);
      }
   }
   EXPECT_THAT(
      completions,
      ElementsAre("9 doInputScan0: McastEvpnConfigSm0 scan, and parent scan, complete.",
                  "9 doInputScan0: McastEvpnConfigSm0 initial scan, and parent scan, "
                  "complete."));
   EXPECT_FALSE(sm->mcastEvpnConfigSm0()->task0());
}

// It is over in one step, which is late only if its task has work pending.
TEST_F(TransitIntfSmInputs, TheScanOfTheMlagStateIsWaitedForAsTheOthersAre) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   auto& mlagSm = *sm->mlagStatusSm3();
   mlagSm.task2Is(scheduler, kLastPriority, "last")->taskWorkPendingIs(1);
   while (!allButOneAreComplete(*sm)) {
      ASSERT_TRUE(scheduler->runSlice());
   }
   EXPECT_EQ(mlagSm.inputScanState2(), 3u);
   EXPECT_EQ(sm->transitIntfCollIntfOutputReconciliationState(), 3u);
   EXPECT_THAT(outputs(), IsEmpty());
   runUntilReady();
}

TEST_F(TransitIntfSmInputs, AChangeDuringAScanIsHandledAtOnce) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   log.take();
   transit("green");
   EXPECT_THAT(log.take(), ElementsAre("8 handleTransitVrf0: k: green"));
   runUntilReady();
}

TEST_F(TransitIntfSmInputs, ASecondPassThatEndsInALaterSliceDoesNotStall) {
   for (uint16_t n = 0; n < 8; ++n) {
      transitOn(("vrf" + std::to_string(n)).c_str(), static_cast<uint16_t>(10 + n));
   }
   for (uint64_t each = 1; each < 10; ++each) {
      startAsync<Kolm::PollShare>(each);
      runUntilReady();
      expectRule();
      sm = nullptr;
      coll->intfDelAll();
      joins->vlanDelAll();
   }
}

TEST_F(TransitIntfSmInputs, VersionsAreThoseOfTheInputs) {
   transitOn("red", 10);
   startQuietly();
   transit("blue");
   peg->pegVlanIs(20);
   map("blue", 20);
   EXPECT_EQ(sm->mcastEvpnConfigSm0()->versionTransitVrf(),
             config->transitVrf().version());
   EXPECT_EQ(sm->pegVlanStatusSm4()->versionPegVlan(), peg->pegVlan().version());
   EXPECT_EQ(sm->vtiStatusDirSm1()
                ->childSmVtiStatusVxlanVtiStatusPtrConst(vxlan1())
                ->versionVrfToSBDVlan(),
             status->vrfToSBDVlan().version());
}

TEST_F(TransitIntfSmInputs, TheVersionIsStoredBeforeTheStreamIsCalled) {
   map("red", 10);
   peg->pegVlanIs(10);
   startQuietly();
   log.actionIs([&](std::string const&) {
      EXPECT_EQ(sm->mcastEvpnConfigSm0()->versionTransitVrf(),
                config->transitVrf().version());
   });
   transit("red");
}

TEST_F(TransitIntfSmInputs, AttributesOfNoConcernAreIgnored) {
   startQuietly();
   L3::VrfName const red("red");
   sm->mcastEvpnConfigSm0()->enDispatch(nullptr, nullptr, 1, &red, nullptr);
   sm->mcastEvpnConfigSm0()->task0Dispatch(nullptr, nullptr, 1, nullptr, nullptr);
   sm->inputSmScanStateDispatch(nullptr, nullptr, ScanState::kIdle, nullptr, nullptr);
   EXPECT_THAT(log.take(), IsEmpty());
}

class TransitIntfSmVti : public DataflowTest {
 protected:
   Pelk::Ptr<Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::VtiStatusSm2>
   child(char const* intf) const {
      return sm->vtiStatusDirSm1()->childSmVtiStatusVxlanVtiStatusPtrConst(
         Lidra::IntfId(std::string(intf)));
   }
   Events evaluations() {
      Events found;
      for (auto const& event : log.take()) {
         if (event.starts_with("7 eventToVtiStatusStream: ") ||
             event.starts_with("7 eventToVtepAddrChangeStream: ")) {
            found.push_back(event.substr(event.find("vtiIntf=")));
         }
      }
      return found;
   }
};

TEST_F(TransitIntfSmVti, EveryInterfaceHasOneChild) {
   dir->vtiStatusIs(statusNew("Vxlan2"));
   startQuietly();
   EXPECT_EQ(sm->vtiStatusDirSm1()->childSmVtiStatusVxlanVtiStatusPtrConst().size(),
             2u);
   EXPECT_EQ(child("Vxlan2")->en(), dir->vtiStatus(Lidra::IntfId("Vxlan2")));
   EXPECT_EQ(status->subscribers(), 1u);
}

TEST_F(TransitIntfSmVti, AChildIsInItsParentsTask) {
   map("red", 10);
   startQuietly();
   auto const vxlan = child("Vxlan1");
   EXPECT_FALSE(vxlan->inTask1());
   EXPECT_FALSE(vxlan->inTask3());
   EXPECT_EQ(vxlan->inReactor(), sm->vtiStatusDirSm1()->inReactor());
}

TEST_F(TransitIntfSmVti, AChildOfAnotherStatusFollowsTheOldOneNoMore) {
   startQuietly();
   auto const before = child("Vxlan1");
   EXPECT_EQ(status->subscribers(), 1u);
   auto const other = statusNew("Vxlan1");
   auto const after =
      sm->vtiStatusDirSm1()->childSmVtiStatusVxlanVtiStatusPtrConstIs(other);
   EXPECT_NE(before, after);
   EXPECT_EQ(after->en(), other);
   EXPECT_EQ(status->subscribers(), 0u);
   EXPECT_EQ(sm->vtiStatusDirSm1()->childSmVtiStatusVxlanVtiStatusPtrConstIs(other),
             after);
   EXPECT_EQ(other->subscribers(), 1u);
}

TEST_F(TransitIntfSmVti, NoVrfIsCountedOfAnInterfaceThatNobodyAsksAbout) {
   auto const other = statusNew("Vxlan2");
   other->vrfToSBDVlanIs("red", 10);
   dir->vtiStatusIs(other);
   map("red", 10);
   startQuietly();
   EXPECT_EQ(child("Vxlan1")->vrfsOn(10), 1u);
   EXPECT_EQ(child("Vxlan1")->vrfsOn(20), 0u);
   EXPECT_EQ(child("Vxlan2")->vrfsOn(10), 0u);
}

TEST_F(TransitIntfSmVti, AChangeOfEitherAddressIsOneReport) {
   startQuietly();
   status->localVtepAddrIs(Lidra::IpAddr("1.1.1.1"));
   EXPECT_THAT(evaluations(), ElementsAre("vtiIntf=Vxlan1"));
   status->mlagVtepAddrIs(Lidra::IpAddr("1.1.1.2"));
   EXPECT_THAT(evaluations(), ElementsAre("vtiIntf=Vxlan1"));
}

TEST_F(TransitIntfSmVti, AnInterfaceThatAppearsIsScannedForBothStreamsAtOnce) {
   dir->vtiStatusDelAll();
   transit("red");
   peg->pegVlanIs(10);
   startAsync<Kolm::PollShare>(1u);
   log.take();
   map("red", 10);
   map("blue", 20);
   dir->vtiStatusIs(status);
   Events expected{"vtiIntf=Vxlan1"};
   for (auto const& entry : status->vrfToSBDVlan()) {
      expected.push_back("vtiIntf=Vxlan1 vrfName=" + std::string(entry.key().view()) +
                         " oldSbdVlan=None newSbdVlan=Optional( " +
                         std::to_string(entry.value().value()) + " )");
   }
   EXPECT_THAT(evaluations(), testing::ElementsAreArray(expected));
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitIntfSmVti, AnInterfaceThatGoesWithdrawsEveryEntryBeforeItsChildGoes) {
   transitOn("red", 10);
   for (uint16_t n = 20; n < 30; ++n) {
      map(("vrf" + std::to_string(n)).c_str(), n);
   }
   startQuietly();
   auto const gone = child("Vxlan1");
   Events expected{"vtiIntf=Vxlan1"};
   for (auto const& entry : status->vrfToSBDVlan()) {
      expected.push_back("vtiIntf=Vxlan1 vrfName=" + std::string(entry.key().view()) +
                         " oldSbdVlan=Optional( " +
                         std::to_string(entry.value().value()) + " ) newSbdVlan=None");
   }
   dir->vtiStatusDel(vxlan1());
   EXPECT_THAT(evaluations(), testing::ElementsAreArray(expected));
   EXPECT_FALSE(child("Vxlan1"));
   EXPECT_EQ(status->subscribers(), 0u);
   EXPECT_TRUE(gone->remembered().empty());
   EXPECT_TRUE(sm->groupByAttr0().empty());
   coll->intfDelAll(); // which stays until its VLAN is evaluated with a status
}

TEST_F(TransitIntfSmVti, AnotherStatusUnderTheSameKeyTakesTheOldOnesPlace) {
   transitOn("red", 10);
   startQuietly();
   auto const before = child("Vxlan1");
   auto const next = statusNew("Vxlan1", "10.0.0.5");
   next->vrfToSBDVlanIs("red", 10);
   dir->vtiStatusIs(next);
   auto const said = log.takeNotified();
   EXPECT_THAT(said, Contains("- intf[Vlan10]")); // the old one withdrew
   EXPECT_NE(child("Vxlan1"), before);
   EXPECT_EQ(addressOf(10), "10.0.0.5");
   EXPECT_EQ(status->subscribers(), 0u);
   EXPECT_EQ(next->subscribers(), 1u);
   status->vrfToSBDVlanIs("red", 20);
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitIntfSmVti, TheSameStatusAgainIsKeptAndNotScanned) {
   transitOn("red", 10);
   startQuietly();
   auto const before = child("Vxlan1");
   dir->vtiStatusIs(status);
   EXPECT_EQ(child("Vxlan1"), before);
   EXPECT_THAT(evaluations(), IsEmpty());
}

TEST_F(TransitIntfSmVti, AChildsScanYieldsByItsParentsTaskAndGoesOnAtItsVrf) {
   for (int n = 0; n < 5; ++n) {
      map(("vrf" + std::to_string(n)).c_str(), static_cast<uint16_t>(10 + n));
   }
   startAsync<Kolm::PollShare>(2u);
   auto const& parent = *sm->vtiStatusDirSm1();
   EXPECT_EQ(parent.inputScanState3(), 1u);
   EXPECT_EQ(parent.inputScanBookmark3(), vxlan1());
   EXPECT_EQ(child("Vxlan1")->inputScanState3(), 1u);
   auto member = status->vrfToSBDVlan().begin();
   ++member;
   ++member;
   EXPECT_EQ(child("Vxlan1")->inputScanBookmark3(), member->key());
   auto const said = log.take();
   EXPECT_THAT(said, Contains("8 doInputScan3: VtiStatusSm2 child yielding after 2 "
                              "iterations (5 total items)"));
   EXPECT_THAT(said, Contains("8 doInputScan3: VtiStatusDirSm1 child yielding after 1 "
                              "iterations (1 total items)"));
   runUntilReady();
   EXPECT_EQ(child("Vxlan1")->inputScanState3(), 2u);
   // All of a pass, whatever the number of its slices.
   EXPECT_THAT(log.take(), IsSupersetOf({"9 doInputScan3: VtiStatusSm2 initial scan "
                                         "complete. Processed 5 children. ",
                                         "9 doInputScan3: VtiStatusSm2 scan "
                                         "complete. Processed 5 children. "}));
}

TEST_F(TransitIntfSmVti, AReactorOfAChildMarksItsParentAndNests) {
   map("red", 10);
   transit("red");
   peg->pegVlanIs(10);
   startQuietly();
   auto const& parent = *sm->vtiStatusDirSm1();
   std::vector<bool> marks;
   int depth = 0;
   log.actionIs([&](std::string const&) {
      marks.push_back(parent.inReactor());
      if (depth++ == 0) {
         map("blue", 30);
         marks.push_back(parent.inReactor());
      }
   });
   map("red", 20);
   EXPECT_THAT(marks, Each(true));
   EXPECT_GE(marks.size(), 2u);
   EXPECT_FALSE(parent.inReactor());
}

TEST_F(TransitIntfSmVti, TheOldVlanIsRememberedBeforeTheStreamsAreOpen) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   while (!child("Vxlan1") || child("Vxlan1")->remembered().size() != 2) {
      ASSERT_TRUE(scheduler->runSlice());
   }
   ASSERT_FALSE(sm->initialScanDone());
   map("red", 30); // dropped, and remembered
   runUntilReady();
   log.take();
   map("red", 40);
   EXPECT_THAT(evaluations(),
               Contains("vtiIntf=Vxlan1 vrfName=red oldSbdVlan=Optional( 30 ) "
                        "newSbdVlan=Optional( 40 )"));
}

} // namespace
