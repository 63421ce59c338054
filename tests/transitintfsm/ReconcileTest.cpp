#include "support/DataflowFixture.h"
#include "support/NotificationRecorder.h"
#include "zin/Hash.h"

namespace {

using namespace Support;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using State = TransitIntfSm::OutputState;

Lidra::IpGenAddr const any;

// What the contract cases ask of one output: entries that the pipeline does not
// produce, numbered from 0.
struct TransitCase {
   static constexpr char const* kName = "transitIntfCollIntfOutput";
   static void add(TransitIntfColl& coll, MembershipJoinStatus&, uint16_t n) {
      coll.intfIs(Lidra::VlanIntfId::vlanIdToIntfId(static_cast<uint16_t>(100 + n)),
                  Lidra::IpAddr("1.2.3.4"));
   }
   static std::string goneText(uint16_t n) {
      return "- intf[Vlan" + std::to_string(100 + n) + "]";
   }
   static bool ready(State const& state) {
      return state.transitIntfCollIntfOutputReady();
   }
   static bool reconciling(TransitIntfSm const& sm) {
      return sm.transitIntfCollIntfOutputReconciling();
   }
   static uint8_t state(TransitIntfSm const& sm) {
      return sm.transitIntfCollIntfOutputReconciliationState();
   }
   static auto task(TransitIntfSm const& sm) {
      return sm.transitIntfCollIntfOutputReconciliationTask();
   }
   static void reconcilingIs(TransitIntfSm& sm, bool reconciling) {
      sm.transitIntfCollIntfOutputReconcilingIs(reconciling);
   }
   static bool useBookmark(TransitIntfSm const& sm) {
      return sm.transitIntfCollIntfOutputUseBookmark();
   }
   static auto bookmark(TransitIntfSm const& sm) {
      return sm.transitIntfCollIntfOutputBookmark();
   }
   static size_t seen(TransitIntfSm const& sm) {
      return sm.transitIntfCollIntfOutputSeen().size();
   }
   static void call(TransitIntfSm& sm) {
      sm.handleTransitIntfCollIntfOutputInputReady();
   }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm.transitIntfCollIntfOutputReconciliationTaskIs(args...);
   }
};

struct RouterCase {
   static constexpr char const* kName = "membershipJoinStatusVlanRouterIntfOutput";
   static void add(TransitIntfColl&, MembershipJoinStatus& joins, uint16_t n) {
      joins.vlanIs(static_cast<uint16_t>(100 + n))->routerIntfIs(null0());
   }
   static std::string goneText(uint16_t n) {
      return "- vlan[" + std::to_string(100 + n) + "].routerIntf[Null0]";
   }
   static bool ready(State const& state) {
      return state.membershipJoinStatusVlanRouterIntfOutputReady();
   }
   static bool reconciling(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanRouterIntfOutputReconciling();
   }
   static uint8_t state(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanRouterIntfOutputReconciliationState();
   }
   static auto task(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanRouterIntfOutputReconciliationTask();
   }
   static void reconcilingIs(TransitIntfSm& sm, bool reconciling) {
      sm.membershipJoinStatusVlanRouterIntfOutputReconcilingIs(reconciling);
   }
   static bool useBookmark(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanRouterIntfOutputUseBookmark();
   }
   static auto bookmark(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanRouterIntfOutputBookmark();
   }
   static size_t seen(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanRouterIntfOutputSeen().size();
   }
   static void call(TransitIntfSm& sm) {
      sm.handleMembershipJoinStatusVlanRouterIntfOutputInputReady();
   }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm.membershipJoinStatusVlanRouterIntfOutputReconciliationTaskIs(args...);
   }
};

struct ExcludeCase {
   static constexpr char const* kName =
      "membershipJoinStatusVlanGroupSourceExcludeIntfOutput";
   static void add(TransitIntfColl&, MembershipJoinStatus& joins, uint16_t n) {
      joins.vlanIs(static_cast<uint16_t>(100 + n))
         ->groupIs(any)
         ->sourceIs(any)
         ->excludeIntfIs(null0());
   }
   static std::string goneText(uint16_t n) {
      return "- vlan[" + std::to_string(100 + n) +
             "].group[0.0.0.0].source[0.0.0.0].excludeIntf[Null0]";
   }
   static bool ready(State const& state) {
      return state.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady();
   }
   static bool reconciling(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciling();
   }
   static uint8_t state(TransitIntfSm const& sm) {
      return sm
         .membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationState();
   }
   static auto task(TransitIntfSm const& sm) {
      return sm
         .membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTask();
   }
   static void reconcilingIs(TransitIntfSm& sm, bool reconciling) {
      sm.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconcilingIs(reconciling);
   }
   static bool useBookmark(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceExcludeIntfOutputUseBookmark();
   }
   static auto bookmark(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceExcludeIntfOutputBookmark();
   }
   static size_t seen(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen().size();
   }
   static void call(TransitIntfSm& sm) {
      sm.handleMembershipJoinStatusVlanGroupSourceExcludeIntfOutputInputReady();
   }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm
         .membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTaskIs(
            args...);
   }
};

struct IncludeCase {
   static constexpr char const* kName =
      "membershipJoinStatusVlanGroupSourceIncludeIntfOutput";
   static void add(TransitIntfColl&, MembershipJoinStatus& joins, uint16_t n) {
      joins.vlanIs(static_cast<uint16_t>(100 + n))
         ->groupIs(any)
         ->sourceIs(any)
         ->includeIntfIs(null0());
   }
   static std::string goneText(uint16_t n) {
      return "- vlan[" + std::to_string(100 + n) +
             "].group[0.0.0.0].source[0.0.0.0].includeIntf[Null0]";
   }
   static bool ready(State const& state) {
      return state.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady();
   }
   static bool reconciling(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciling();
   }
   static uint8_t state(TransitIntfSm const& sm) {
      return sm
         .membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationState();
   }
   static auto task(TransitIntfSm const& sm) {
      return sm
         .membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTask();
   }
   static void reconcilingIs(TransitIntfSm& sm, bool reconciling) {
      sm.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconcilingIs(reconciling);
   }
   static bool useBookmark(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceIncludeIntfOutputUseBookmark();
   }
   static auto bookmark(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceIncludeIntfOutputBookmark();
   }
   static size_t seen(TransitIntfSm const& sm) {
      return sm.membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen().size();
   }
   static void call(TransitIntfSm& sm) {
      sm.handleMembershipJoinStatusVlanGroupSourceIncludeIntfOutputInputReady();
   }
   static auto taskIs(TransitIntfSm& sm, auto const&... args) {
      return sm
         .membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTaskIs(
            args...);
   }
};

template <typename Case>
class Reconciliation : public DataflowTest {
 protected:
   void foreign(uint16_t entries) {
      for (uint16_t n = 0; n < entries; ++n) {
         Case::add(*coll, *joins, n);
      }
      log.take();
   }
   void foreignDel(uint16_t first, uint16_t last) {
      for (uint16_t n = first; n <= last; ++n) {
         auto const vlanId = static_cast<uint16_t>(100 + n);
         coll->intfDel(Lidra::VlanIntfId::vlanIdToIntfId(vlanId));
         joins->vlanDel(vlanId);
      }
   }
   std::string handler() const {
      std::string name = Case::kName;
      name[0] = static_cast<char>(std::toupper(name[0]));
      return "handle" + name + "InputReady";
   }
   // What the output's handler said.
   DataflowTest::Events said(DataflowTest::Events const& events) const {
      DataflowTest::Events lines;
      auto const mark = "9 " + handler() + ": ";
      for (auto const& event : events) {
         if (event.starts_with(mark)) {
            lines.push_back(event.substr(mark.size()));
         }
      }
      return lines;
   }
   // An asynchronous machine whose inputs are scanned in the caller; its
   // reconciliations do one item there.
   void startWithOneItemEach() { this->template startAsync<Kolm::PollShare>(1u); }
};

using Cases = testing::Types<TransitCase, RouterCase, ExcludeCase, IncludeCase>;
TYPED_TEST_SUITE(Reconciliation, Cases, );

TYPED_TEST(Reconciliation, EveryEntryThatWasNotSeenIsDeleted) {
   this->foreign(5);
   this->start();
   EXPECT_THAT(this->outputs(), IsEmpty());
   auto const events = this->log.take();
   for (uint16_t n = 0; n < 5; ++n) {
      EXPECT_THAT(events, Contains(TypeParam::goneText(n)));
   }
   EXPECT_THAT(this->said(events),
               Contains("Deletion scan for reconciliation is done, last task run "
                        "processed 5 items, deleting 5 items."));
   EXPECT_THAT(this->said(events), Each(Not(HasSubstr("deleting k1="))));
}

TYPED_TEST(Reconciliation, GoesOnItemByItemInItsTaskFromABookmark) {
   this->foreign(4);
   this->startWithOneItemEach();
   ASSERT_FALSE(this->sm->ready());
   EXPECT_TRUE(TypeParam::reconciling(*this->sm));
   EXPECT_EQ(TypeParam::state(*this->sm), 0);
   EXPECT_TRUE(TypeParam::useBookmark(*this->sm));
   auto const task = TypeParam::task(*this->sm);
   ASSERT_TRUE(task);
   EXPECT_EQ(task->taskName(),
             std::string("TransitIntfSm-") + TypeParam::kName + "Task");
   EXPECT_EQ(task->taskWorkCount(), 1u);
   auto const events = this->log.take();
   EXPECT_THAT(this->said(events),
               Contains("Yielding in reconciliation processing after processing 1 "
                        "items, including 1 deletions ."));
   uint64_t const slices = this->scheduler->runUntilIdle();
   EXPECT_EQ(slices, 3u);
   EXPECT_EQ(task->taskWorkCount(), 4u);
   EXPECT_FALSE(TypeParam::task(*this->sm));
   EXPECT_EQ(task->subscribers(), 0u);
   EXPECT_TRUE(this->sm->ready());
   EXPECT_FALSE(TypeParam::useBookmark(*this->sm));
   EXPECT_EQ(TypeParam::bookmark(*this->sm),
             decltype(TypeParam::bookmark(*this->sm))());
}

TYPED_TEST(Reconciliation, ForeignEntriesThatComeAndGoBetweenTheSlicesCostNoRightOne) {
   this->transitOn("red", 10);
   this->transitOn("blue", 20);
   this->foreign(6);
   this->startWithOneItemEach();
   this->scheduler->runSlice();
   TypeParam::add(*this->coll, *this->joins, 40);
   TypeParam::add(*this->coll, *this->joins, 41);
   this->foreignDel(0, 5);
   this->scheduler->runSlice();
   TypeParam::add(*this->coll, *this->joins, 42);
   this->scheduler->runUntilIdle();
   EXPECT_TRUE(this->sm->ready());
   // Whether a scan met what came late depends on the order of the collections.
   this->foreignDel(40, 42);
   EXPECT_EQ(this->outputs(), this->rule());
   EXPECT_THAT(this->outputs(), Not(IsEmpty()));
}

TYPED_TEST(Reconciliation, WithoutTheFlagTheOutputIsReadyWithoutAScan) {
   this->foreign(2);
   this->transitOn("red", 10);
   this->transitOn("blue", 20);
   this->startWithOneItemEach();
   ASSERT_FALSE(this->sm->initialScanDone());
   TypeParam::reconcilingIs(*this->sm, false);
   this->log.take();
   this->scheduler->runUntilIdle();
   auto const events = this->log.take();
   EXPECT_TRUE(TypeParam::ready(*this->sm->outputState()));
   EXPECT_THAT(this->said(events), Each(Not(HasSubstr("scan for reconciliation"))));
   EXPECT_THAT(events, Each(Not(TypeParam::goneText(0))));
   this->coll->intfDelAll();
   this->joins->vlanDelAll();
   this->sm = nullptr;
}

TYPED_TEST(Reconciliation, OnceReadyAnotherCallSaysSoAndChangesNothing) {
   this->startQuietly();
   TypeParam::call(*this->sm);
   EXPECT_THAT(this->said(this->log.take()),
               ElementsAre(this->handler(), " already ready, not reconciling."));
   EXPECT_FALSE(TypeParam::reconciling(*this->sm));
   EXPECT_EQ(TypeParam::state(*this->sm), 0);
   EXPECT_EQ(TypeParam::seen(*this->sm), 0u);
}

TYPED_TEST(Reconciliation, BeginsHoldingBothBackWithATaskOfItsOwn) {
   this->transitOn("red", 10);
   this->transitOn("blue", 20);
   this->startWithOneItemEach();
   EXPECT_TRUE(TypeParam::reconciling(*this->sm));
   EXPECT_EQ(TypeParam::state(*this->sm), 3);
   EXPECT_TRUE(TypeParam::task(*this->sm));
   this->scheduler->runUntilIdle();
}

TYPED_TEST(Reconciliation, ATaskOfTheSameSchedulerAndNameIsKeptWithTheNewPriority) {
   this->startQuietly();
   auto& machine = *this->sm;
   Pelk::String const name("some name that is long enough");
   auto const first =
      TypeParam::taskIs(machine, this->scheduler, Kolm::TaskPriority(5), name);
   EXPECT_EQ(first->subscribers(), 1u);
   EXPECT_EQ(TypeParam::taskIs(machine, this->scheduler, Kolm::TaskPriority(6), name),
             first);
   EXPECT_EQ(first->taskPriority(), Kolm::TaskPriority(6));
   auto const second = TypeParam::taskIs(machine, this->scheduler,
                                         Kolm::TaskPriority(6), Pelk::String("b"));
   EXPECT_NE(second, first);
   EXPECT_EQ(first->subscribers(), 0u);
   auto const other = Pelk::makePtr<Kolm::TaskScheduler>();
   EXPECT_NE(
      TypeParam::taskIs(machine, other, Kolm::TaskPriority(6), Pelk::String("b")),
      second);
}

class TransitIntfSmReconciles : public DataflowTest {};

TEST_F(TransitIntfSmReconciles, ARestartOverRightOutputsAnnouncesNothing) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startQuietly();
   sm = nullptr;
   for (uint64_t each = 1; each < 4; ++each) {
      startAsync<Kolm::PollShare>(each);
      runUntilReady();
      EXPECT_THAT(log.takeNotified(), IsEmpty());
      sm = nullptr;
   }
}

TEST_F(TransitIntfSmReconciles, ASeenEntryIsWrittenOnceMoreWithItsAddress) {
   transitOn("red", 10);
   auto const intf = coll->intfIs(Lidra::IntfId("Vlan10"), Lidra::IpAddr("1.2.3.4"));
   log.take();
   start();
   auto const said = log.take();
   EXPECT_THAT(said, Contains("intf[Vlan10].ipAddr = 10.0.0.1"));
   EXPECT_THAT(said, Contains("9 handleTransitIntfCollIntfOutputInputReady: into( "
                              "transitIntfColl.intf[ transitIntf ] ): inserting "
                              "k1=Vlan10, value=Tuple( Vlan10, 10.0.0.1 )"));
   EXPECT_EQ(coll->intf(Lidra::IntfId("Vlan10")), intf);
}

TEST_F(TransitIntfSmReconciles, ADeletionDuringTheInsertionScanWaitsForItsEnd) {
   transitOn("red", 10);
   transitOn("blue", 20);
   transitOn("green", 30);
   startQuietly();
   sm = nullptr;
   startAsync<Kolm::PollShare>(1u);
   while (sm->transitIntfCollIntfOutputReconciliationState() != 2) {
      ASSERT_TRUE(scheduler->runSlice());
   }
   auto const key = [](char const* intf) {
      auto made = TransitIntfSm::TransitIntfCollIntfOutputKeyType(
         Lidra::IntfId(std::string(intf)));
      made.validate();
      return made;
   };
   EXPECT_EQ(sm->transitIntfCollIntfOutputSeen().size(), 3u);
   peg->pegVlanDel(10);
   EXPECT_FALSE(sm->transitIntfCollIntfOutputSeen().contains(key("Vlan10")));
   EXPECT_EQ(addressOf(10), kLocal);
   transitOn("x", 40);
   EXPECT_TRUE(sm->transitIntfCollIntfOutputSeen().contains(key("Vlan40")));
   EXPECT_EQ(addressOf(40), kLocal); // insertions are not held back any more
   runUntilReady();
   EXPECT_EQ(addressOf(10), "no interface");
}

TEST_F(TransitIntfSmReconciles, HeldBackOperationsFillTheTableAndSayNothing) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   while (!sm->initialScanDone()) {
      ASSERT_TRUE(scheduler->runSlice());
   }
   ASSERT_EQ(sm->transitIntfCollIntfOutputReconciliationState(), 3);
   log.take();
   transitOn("green", 30);
   peg->pegVlanDel(30);
   for (auto const& event : log.take()) {
      EXPECT_THAT(event, Not(HasSubstr("into( ")));
   }
   EXPECT_THAT(outputs(), IsEmpty());
   runUntilReady();
}

TEST_F(TransitIntfSmReconciles, LevelsThatWereEmptyBeforeAreLeftAlone) {
   joins->vlanIs(50);
   joins->vlanIs(51)->groupIs(any);
   joins->vlanIs(52)->groupIs(any)->sourceIs(any);
   joins->vlanIs(53)->groupIs(any)->sourceIs(any)->includeIntfIs(null0());
   joins->vlan(53)->routerIntfIs(null0());
   log.take();
   start();
   EXPECT_EQ(outputs().at("join 50"), "no group");
   EXPECT_EQ(outputs().at("join 51"), "(0.0.0.0, no source)");
   EXPECT_EQ(outputs().at("join 52"), "(0.0.0.0, 0.0.0.0) of nobody");
   EXPECT_FALSE(hasJoin(53));
   EXPECT_THAT(
      log.takeNotified(),
      ElementsAre("- vlan[53].group[0.0.0.0].source[0.0.0.0].includeIntf[Null0]",
                  "- vlan[53].group[0.0.0.0].source[0.0.0.0]",
                  "- vlan[53].group[0.0.0.0]", "- vlan[53].routerIntf[Null0]",
                  "- vlan[53]"));
   joins->vlanDelAll();
}

TEST_F(TransitIntfSmReconciles, TheItemsOfBothScansOfOneCallAreCountedTogether) {
   transitOn("red", 10);
   coll->intfIs(Lidra::IntfId("Vlan99"), Lidra::IpAddr("1.2.3.4"));
   start();
   EXPECT_THAT(
      log.take(),
      Contains("9 handleTransitIntfCollIntfOutputInputReady: Deletion scan for "
               "reconciliation is done, last task run processed 3 items, "
               "deleting 1 items."));
}

TEST_F(TransitIntfSmReconciles, OtherLeavesOfATransitVlanGoAndItsJoinStays) {
   transitOn("red", 10);
   auto const source = joins->vlanIs(10)->groupIs(any)->sourceIs(any);
   source->includeIntfIs(Lidra::IntfId("Ethernet1"));
   source->excludeIntfIs(null0());
   joins->vlan(10)->routerIntfIs(null0());
   start();
   EXPECT_EQ(outputs().at("join 10"), "(0.0.0.0, 0.0.0.0) include Null0");
}

TEST_F(TransitIntfSmReconciles, SeenTablesAreReadAndWrittenByTheirNames) {
   startQuietly();
   Lidra::IntfId const intf("Vlan10");
   auto const key = TransitIntfSm::TransitIntfCollIntfOutputKeyType(intf);
   sm->transitIntfCollIntfOutputSeenIs(key, {intf, any});
   sm->transitIntfCollIntfOutputSeenIs(key, {intf, Lidra::IpAddr("1.2.3.4")});
   EXPECT_EQ(sm->transitIntfCollIntfOutputSeen().size(), 1u);
   EXPECT_EQ(std::get<1>(sm->transitIntfCollIntfOutputSeenDel(key)).stringValue(),
             "1.2.3.4");
   EXPECT_EQ(sm->transitIntfCollIntfOutputSeenDel(key),
             (FlumaCode::Tuple<Lidra::IntfId, Lidra::IpGenAddr>()));
   auto const router =
      TransitIntfSm::MembershipJoinStatusVlanRouterIntfOutputKeyType(10, null0());
   sm->membershipJoinStatusVlanRouterIntfOutputSeenIs(router);
   sm->membershipJoinStatusVlanRouterIntfOutputSeenIs(router);
   EXPECT_TRUE(sm->membershipJoinStatusVlanRouterIntfOutputSeenHas(router));
   auto validated = router;
   validated.validate();
   EXPECT_FALSE(sm->membershipJoinStatusVlanRouterIntfOutputSeenHas(validated));
   sm->membershipJoinStatusVlanRouterIntfOutputSeenDel(router);
   EXPECT_FALSE(sm->membershipJoinStatusVlanRouterIntfOutputSeenHas(router));
   sm->transitIntfCollIntfOutputSeenIs(key, {intf, any});
   sm->transitIntfCollIntfOutputSeenDelAll();
   EXPECT_TRUE(sm->transitIntfCollIntfOutputSeen().empty());
}

TEST_F(TransitIntfSmReconciles, SeenTablesOfTheLeavesAreReadAndWrittenByTheirNames) {
   startQuietly();
   auto const include =
      TransitIntfSm::MembershipJoinStatusVlanGroupSourceIncludeIntfOutputKeyType(
         10, any, any, null0());
   sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenIs(include);
   EXPECT_TRUE(
      sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenHas(include));
   EXPECT_TRUE(sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen().empty());
   sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeenDel(include);
   EXPECT_TRUE(sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen().empty());
   auto const exclude =
      TransitIntfSm::MembershipJoinStatusVlanGroupSourceExcludeIntfOutputKeyType(
         10, any, any, null0());
   sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenIs(exclude);
   EXPECT_TRUE(
      sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenHas(exclude));
   EXPECT_TRUE(sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen().empty());
   sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenDel(exclude);
   EXPECT_TRUE(sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen().empty());
}

TEST_F(TransitIntfSmReconciles, SeedsOfTheSeenTablesAreTheFrozenOnes) {
   startQuietly();
   auto const constant = [](auto const& map) {
      return uint32_t{map.hashSeed()} ^ Zin::HashHelper::hashSeed32() ^
             Zin::kHashSingleAttrSalt;
   };
   EXPECT_EQ(constant(sm->transitIntfCollIntfOutputSeen()), 0x7979edacu);
   EXPECT_EQ(constant(sm->membershipJoinStatusVlanRouterIntfOutputSeen()), 0x640dae3bu);
   EXPECT_EQ(constant(sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen()),
             0xc82f3902u);
   EXPECT_EQ(constant(sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen()),
             0xc7323effu);
   EXPECT_EQ(constant(coll->intf()), 0x8a27926du);
}

TEST_F(TransitIntfSmReconciles, OutsideOfItADeletionReachesTheOutputUnseen) {
   startQuietly();
   coll->intfIs(Lidra::IntfId("Vlan10"), Lidra::IpAddr("1.2.3.4"));
   map("red", 10);
   EXPECT_EQ(addressOf(10), "no interface");
}

TEST_F(TransitIntfSmReconciles, PruningStopsWhereSomethingIsLeft) {
   transitOn("red", 10);
   startQuietly();
   joins->vlan(10)->routerIntfIs(Lidra::IntfId("Ethernet1"));
   peg->pegVlanDel(10);
   EXPECT_EQ(outputs().at("join 10"), "router Ethernet1");
   joins->vlanDelAll();
}

TEST_F(TransitIntfSmReconciles, ADeletionWithoutALeafStillSaysItAndPrunes) {
   startQuietly();
   joins->vlanIs(10)->groupIs(any)->sourceIs(any);
   log.take();
   map("red", 10);
   auto const said = log.take();
   EXPECT_THAT(said, Contains("- vlan[10].group[0.0.0.0].source[0.0.0.0]"));
   EXPECT_THAT(said, Contains("- vlan[10]"));
   EXPECT_THAT(said, Contains(HasSubstr("excludeIntf[ intfId ] ): deleting k1=10")));
}

} // namespace
