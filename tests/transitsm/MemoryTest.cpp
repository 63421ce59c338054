#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"

#include <cstdint>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <utility>

// What the reactor allocates, and what happens where it releases memory.
namespace {

uint64_t allocations = 0;
void (*whenReleased)() = nullptr; // called once, where memory is released next

void release(void* memory) noexcept {
   std::free(memory);
   if (memory != nullptr && whenReleased != nullptr) {
      std::exchange(whenReleased, nullptr)();
   }
}

} // namespace

void* operator new(std::size_t size) {
   ++allocations;
   if (void* const memory = std::malloc(size)) {
      return memory;
   }
   throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
   release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
   release(memory);
}

namespace {

using Irb::Multicast::Evpn::TransitSm;

// A reactor whose inputs map a VRF to VLAN 10, with nobody who listens to its outputs.
class TransitSmMemory : public testing::Test {
 protected:
   TransitSmMemory() {
      status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.1")));
      dir->vtiStatusIs(status);
      config->transitVrfIs(red);
      status->vrfToSBDVlanIs(red, 10);
      sm = Irb::Multicast::Evpn::transitSmFactory(Lidra::AddressFamily::ipv4, config,
                                                  dir, mlag, coll, joins);
   }

   template <typename Event>
   static uint64_t allocationsOf(Event const& event) {
      auto const before = allocations;
      event();
      return allocations - before;
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
   whenReleased = [] {
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
