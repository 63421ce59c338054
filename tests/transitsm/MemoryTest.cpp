#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "pelk/SpareBlocks.h"
#include "pelk/ThreadControl.h"
#include "support/CountingHeap.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using TestSupport::heap;

// What the reactor allocates, and what happens where it releases memory.
namespace {

using Irb::Multicast::Evpn::TransitSm;

// A reactor whose inputs map a VRF to VLAN 10, with nobody who listens to its outputs.
// As among threads no output takes the memory of one that went, so that each is
// counted.
class TransitSmMemory : public testing::Test {
 protected:
   TransitSmMemory() {
      Pelk::ThreadControl::multiThreadedIs(true);
      status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.1")));
      dir->vtiStatusIs(status);
      config->transitVrfIs(red);
      status->vrfToSBDVlanIs(red, 10);
      sm = Irb::Multicast::Evpn::transitSmFactory(Lidra::AddressFamily::ipv4, config,
                                                  dir, mlag, coll, joins);
   }

   ~TransitSmMemory() override { Pelk::ThreadControl::multiThreadedIs(false); }

   template <typename Event>
   static uint64_t allocationsOf(Event const& event) {
      auto const before = heap().allocations;
      event();
      return heap().allocations - before;
   }

   L3::VrfName const red{"red"};
   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> coll =
      Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   Pelk::Ptr<TransitSm> sm;
};

TEST_F(TransitSmMemory, AMoveAllocatesWhatItsOutputsNeedAndNothingElse) {
   config->transitVrfDel(red);
   auto const outputsNeed = allocationsOf([&] { config->transitVrfIs(red); });
   EXPECT_GT(outputsNeed, 0u);
   for (auto const vlanId : {uint16_t{20}, uint16_t{10}, uint16_t{30}}) {
      EXPECT_EQ(allocationsOf([&] { status->vrfToSBDVlanIs(red, vlanId); }),
                outputsNeed)
         << vlanId;
      EXPECT_EQ(coll->intf().size(), 1u);
      EXPECT_TRUE(coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(vlanId)));
      EXPECT_EQ(sm->sbdVlanToVrf(vlanId)->vlanId(), Bridging::VlanId(vlanId));
   }
}

// What a VLAN's outputs are: the interface, and its join's VLAN, group and source.
constexpr uint64_t kOutputs = 4;

TEST_F(TransitSmMemory, AVlanOfOneVrfTakesABlockForEachOutputEntity) {
   config->transitVrfDel(red);
   EXPECT_EQ(allocationsOf([&] { config->transitVrfIs(red); }), kOutputs);
}

TEST_F(TransitSmMemory, AMoveTakesTheMemoryOfTheOutputsThatItRemoves) {
   Pelk::ThreadControl::multiThreadedIs(false);
   status->vrfToSBDVlanIs(red, 20);
   EXPECT_EQ(allocationsOf([&] { status->vrfToSBDVlanIs(red, 30); }),
             Pelk::SpareBlocks::kKeeps ? 0u : kOutputs);
   EXPECT_TRUE(coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(30)));
}

// Each event leaves one VLAN more recorded, and one VRF more. What an event takes
// beside its outputs is for the next ones too: the tables of the inputs, of the reactor
// and of the outputs, which double, and a heap block for many entries.
TEST_F(TransitSmMemory, EventsThatRecordMoreVlansAllocateTheirOutputsAndAmortisedRoom) {
   constexpr uint16_t kVlans = 3900;
   uint64_t exact = 0;
   uint64_t beyond = 0;
   for (uint16_t vlan = 100; vlan < 100 + kVlans; ++vlan) {
      L3::VrfName const vrf("vrf" + std::to_string(vlan));
      config->transitVrfIs(vrf);
      auto const taken =
         allocationsOf([&] { status->vrfToSBDVlanIs(vrf, vlan); }) - kOutputs;
      exact += taken == 0;
      beyond += taken;
   }
   EXPECT_EQ(sm->sbdVlanToVrf().size(), kVlans + 1u);
   EXPECT_EQ(coll->intf().size(), kVlans + 1u);
   // A heap block for 64 entries, and five tables that double.
   EXPECT_LE(beyond, kVlans / 64 + 5 + 5 * 12);
   EXPECT_GE(exact, kVlans - beyond);
}

// One VRF of two leaves the VLAN that both were on, and comes back.
TEST_F(TransitSmMemory, AVrfThatLeavesOthersBehindTakesItsOutputsAlone) {
   L3::VrfName const blue("blue");
   config->transitVrfIs(blue);
   status->vrfToSBDVlanIs(blue, 10);
   auto const thereAndBack = [&] {
      EXPECT_EQ(allocationsOf([&] { status->vrfToSBDVlanIs(blue, 20); }), kOutputs);
      EXPECT_EQ(sm->sbdVlanToVrf().size(), 2u);
      EXPECT_EQ(allocationsOf([&] { status->vrfToSBDVlanIs(blue, 10); }), 0u);
      EXPECT_EQ(sm->sbdVlanToVrf().size(), 1u);
   };
   for (int round = 0; round < 100; ++round) {
      thereAndBack();
   }
}

TEST_F(TransitSmMemory, VlansThatComeAndGoTogetherTakeNoMoreThanTheirOutputs) {
   auto const map = [&](uint16_t count, auto vlanOf) {
      for (uint16_t vrf = 0; vrf < count; ++vrf) {
         status->vrfToSBDVlanIs(L3::VrfName("vrf" + std::to_string(vrf)), vlanOf(vrf));
      }
   };
   constexpr uint16_t kVrfs = 300;
   auto const ofTheirOwn = [](uint16_t vrf) {
      return static_cast<uint16_t>(vrf + 100);
   };
   map(kVrfs, ofTheirOwn);
   map(kVrfs, [](uint16_t) { return uint16_t{10}; });
   EXPECT_EQ(sm->sbdVlanToVrf().size(), 1u);
   // None of them is a transit VRF: there are no outputs.
   EXPECT_EQ(allocationsOf([&] { map(kVrfs, ofTheirOwn); }), 0u);
   EXPECT_EQ(sm->sbdVlanToVrf().size(), kVrfs + 1u);
}

TEST_F(TransitSmMemory, AnEntryThatSomebodyMakesHasNoRoomForAnother) {
   using Entry = TransitSm::SbdVlanToVrf;
   auto const before = heap();
   auto const entry = Pelk::makePtr<Entry>(Bridging::VlanId(10));
   EXPECT_EQ(heap().allocations - before.allocations, 1u);
   EXPECT_LT(heap().bytes - before.bytes, 2 * sizeof(Entry));
}

TEST_F(TransitSmMemory, AnEntryThatSomebodyHoldsIsNotUsedAgain) {
   auto const held = sm->sbdVlanToVrf(10);
   status->vrfToSBDVlanIs(red, 20);
   auto const alsoHeld = sm->sbdVlanToVrf(20);
   status->vrfToSBDVlanIs(red, 30);
   EXPECT_NE(sm->sbdVlanToVrf(30), held);
   EXPECT_NE(sm->sbdVlanToVrf(30), alsoHeld);
   EXPECT_EQ(held->vlanId(), Bridging::VlanId(10));
   EXPECT_EQ(alsoHeld->vlanId(), Bridging::VlanId(20));
   EXPECT_TRUE(held->vrf().empty());
   sm = nullptr;
   EXPECT_EQ(held->vlanId(), Bridging::VlanId(10)) << "it outlives the reactor";
   EXPECT_EQ(held->useCount(), 1u);
}

TEST_F(TransitSmMemory, EntriesThatAreRemovedByHandAreNotKept) {
   auto const entry = sm->sbdVlanToVrf(10);
   sm->sbdVlanToVrfDelAll();
   EXPECT_EQ(entry->useCount(), 1u);
   sm->sbdVlanToVrfIs(11);
   sm->sbdVlanToVrfDel(11);
   sm->sbdVlanToVrfDelAll();
   EXPECT_TRUE(sm->sbdVlanToVrf().empty());
   EXPECT_EQ(sm->sbdVlanToVrfIs(12)->vlanId(), Bridging::VlanId(12));
}

TEST_F(TransitSmMemory, AnEventThatChangesNoOutputAllocatesNothing) {
   EXPECT_EQ(allocationsOf([&] {
                status->vrfToSBDVlanIs(red, 10);
                mlag->mlagStateIs(Mlag::MlagState::active);
                status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.2")));
             }),
             0u);
}

// What runs where the reactor, on its end, releases what followed its inputs.
struct Teardown {
   TransitSm* sm;
   Pelk::Ptr<Vxlan::VtiStatusDir> otherDir;
   Vxlan::VtiStatusDir const* dirBefore;
   bool wasBeingDeleted;
   bool keptItsDir;
};
Teardown teardown;

TEST_F(TransitSmMemory, ADirectoryGivenToAReactorThatEndsIsIgnored) {
   auto const otherStatus = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   otherStatus->vrfToSBDVlanIs(red, 20);
   teardown = {sm.get(), Pelk::makePtr<Vxlan::VtiStatusDir>(), dir.get(), false, false};
   teardown.otherDir->vtiStatusIs(otherStatus);
   heap().whenReleased = [] {
      teardown.wasBeingDeleted = teardown.sm->isBeingDeleted();
      teardown.sm->vtiStatusDirIs(teardown.otherDir);
      teardown.keptItsDir = teardown.sm->vtiStatusDir().get() == teardown.dirBefore;
   };
   sm = nullptr;
   EXPECT_TRUE(teardown.wasBeingDeleted);
   EXPECT_TRUE(teardown.keptItsDir);
   EXPECT_EQ(teardown.otherDir->subscribers(), 0u);
   EXPECT_EQ(otherStatus->subscribers(), 0u);
   EXPECT_FALSE(coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(20)));
   teardown = {};
}

} // namespace
