#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusSm2.h"
#include "kolm/Task.h"
#include "support/DataflowFixture.h"

#include <array>
#include <initializer_list>
#include <set>

namespace {

using namespace Support;

// The input machines while the machine that has them comes and goes.
class TransitIntfSmInputLife : public DataflowTest {};

TEST_F(TransitIntfSmInputLife, AnInputMachineThatSomebodyHoldsFollowsNothingMore) {
   startQuietly();
   auto const configSm = sm->mcastEvpnConfigSm0();
   auto const dirSm = sm->vtiStatusDirSm1();
   auto const mlagSm = sm->mlagStatusSm3();
   auto const pegSm = sm->pegVlanStatusSm4();
   EXPECT_NE(subscribers(), 0u);
   sm = nullptr;
   EXPECT_EQ(subscribers(), 0u);
   EXPECT_TRUE(configSm->isBeingDeleted() && dirSm->isBeingDeleted() &&
               mlagSm->isBeingDeleted() && pegSm->isBeingDeleted());
}

TEST_F(TransitIntfSmInputLife, TheVersionOfThePegVlansIsStoredBeforeTheStream) {
   transit("red");
   map("red", 10);
   startQuietly();
   int told = 0;
   log.actionIs([&](std::string const&) {
      ++told;
      EXPECT_EQ(sm->pegVlanStatusSm4()->versionPegVlan(), peg->pegVlan().version());
   });
   peg->pegVlanIs(10);
   EXPECT_GT(told, 0);
}

TEST_F(TransitIntfSmInputLife, AnInterfaceThatGoesIsTracedWithItsName) {
   transitOn("red", 10);
   startQuietly();
   peg->pegVlanDel(10);
   EXPECT_THAT(log.takeTraced(),
               testing::Contains(testing::EndsWith(
                  ": into( transitIntfColl.intf[ transitIntf ] ): deleting "
                  "k1=Vlan10")));
}

TEST_F(TransitIntfSmInputLife, ATaskIsGivenAndTakenAway) {
   startQuietly();
   auto const& machine = sm->mlagStatusSm3();
   EXPECT_FALSE(machine->task2());
   machine->task2Is(scheduler, Kolm::TaskPriority(1), "again");
   ASSERT_TRUE(machine->task2());
   EXPECT_EQ(machine->task2()->taskName(), "again");
   machine->task2Del();
   EXPECT_FALSE(machine->task2());
}

// Each input machine, made of its input but not initialized.
template <typename Machine>
auto uninitialized(auto const& input, auto* parent) {
   auto const machine = Pelk::makePtr<Machine>(input);
   machine->parentIs(parent);
   return machine;
}

TEST_F(TransitIntfSmInputLife, OneThatIsNotInitializedDoesNothing) {
   transitOn("red", 10);
   startQuietly();
   auto const configSm =
      uninitialized<TransitIntfSm::McastEvpnConfigSm0>(config, sm.get());
   configSm->doInputScan();
   configSm->doInputScan0();
   configSm->handleTransitVrf0("red");
   auto const mlagSm = uninitialized<TransitIntfSm::MlagStatusSm3>(mlag, sm.get());
   mlagSm->doInputScan();
   mlagSm->doInputScan2();
   mlagSm->handleMlagState2();
   auto const pegSm = uninitialized<TransitIntfSm::PegVlanStatusSm4>(peg, sm.get());
   pegSm->doInputScan();
   pegSm->doInputScan4();
   pegSm->handlePegVlan4(10);
   auto const dirSm = uninitialized<TransitIntfSm::VtiStatusDirSm1>(dir, sm.get());
   dirSm->doInputScan();
   dirSm->doInputScan1();
   dirSm->doInputScan3();
   dirSm->handleVtiStatus1(vxlan1());
   dirSm->handleVtiStatus3(vxlan1());
   using Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::VtiStatusSm2;
   auto const statusSm =
      uninitialized<VtiStatusSm2>(status, sm->vtiStatusDirSm1().get());
   statusSm->doInputScan();
   EXPECT_TRUE(statusSm->doInputScan1());
   EXPECT_TRUE(statusSm->doInputScan3());
   statusSm->handleLocalVtepAddrMAmlagVtepAddr1();
   EXPECT_THAT(log.take(), testing::IsEmpty());
}

TEST_F(TransitIntfSmInputLife, AnAttributeThatNobodyServesIsIgnored) {
   constexpr int16_t kAnother = 999;
   auto const kAny = Lidra::IpGenAddr::ipGenAddrZero(kIpv4);
   transitOn("red", 10);
   transitOn("green", 11);
   transitOn("blue", 12);
   dir->vtiStatusIs(statusNew("Vxlan2"));
   dir->vtiStatusIs(statusNew("Vxlan3"));
   for (uint16_t const vlan :
        {uint16_t{20}, uint16_t{30}}) { // what others left, to be reconciled
      auto const source = joins->vlanIs(vlan)->groupIs(kAny)->sourceIs(kAny);
      joins->vlan(vlan)->routerIntfIs(null0());
      source->includeIntfIs(null0());
      source->excludeIntfIs(null0());
      coll->intfIs(Lidra::VlanIntfId::vlanIdToIntfId(vlan), kAny);
   }
   startAsync<Kolm::PollShare>(1u);
   sm->mlagStatusSm3()->task2Is(scheduler, Kolm::TaskPriority(1),
                                "one item is no scan");
   log.take();
   auto const pending = scheduler->pending();
   std::set<size_t> tried;
   auto const tryTasks = [&] {
      std::array const tasks = {
         sm->mcastEvpnConfigSm0()->task0(),
         sm->vtiStatusDirSm1()->task1(),
         sm->mlagStatusSm3()->task2(),
         sm->vtiStatusDirSm1()->task3(),
         sm->pegVlanStatusSm4()->task4(),
         sm->transitIntfCollIntfOutputReconciliationTask(),
         sm->membershipJoinStatusVlanRouterIntfOutputReconciliationTask(),
         sm->membershipJoinStatusVlanGroupSourceExcludeIntfOutputReconciliationTask(),
         sm->membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationTask()};
      for (size_t i = 0; i < tasks.size(); ++i) {
         if (tasks[i]) {
            tried.insert(i);
            EXPECT_EQ(tasks[i]->subscribers(), 1u);
            tasks[i]->publishChangeRecursive(kAnother);
         }
      }
   };
   tryTasks();
   EXPECT_THAT(log.take(), testing::IsEmpty());
   EXPECT_EQ(scheduler->pending(), pending);
   while (scheduler->runSlice()) {
      log.take();
      tryTasks();
      EXPECT_THAT(log.take(), testing::IsEmpty());
   }
   EXPECT_THAT(tried, testing::ElementsAre(0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u));
   for (auto* const input : std::initializer_list<Pelk::Publisher*>{
           config.get(), dir.get(), status.get(), mlag.get(), peg.get()}) {
      EXPECT_EQ(input->subscribers(), 1u);
      input->publishChangeRecursive(kAnother);
   }
   EXPECT_THAT(log.take(), testing::IsEmpty());
   EXPECT_EQ(scheduler->pending(), 0u);
}

} // namespace
