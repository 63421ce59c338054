#include "McastVpnLib/TransitIntfSm/inputs/VlanVrfIndex.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::VlanVrfIndex;

// A status whose mappings are told to an index of them.
class VlanVrfIndexTest : public testing::Test {
 protected:
   using Names = std::vector<std::string>;

   void map(L3::VrfName const& vrf, uint16_t vlanId) {
      unmap(vrf);
      status->vrfToSBDVlanIs(vrf, vlanId);
      index.add(vlanId, vrf);
   }
   void unmap(L3::VrfName const& vrf) {
      if (auto const* const entry = status->vrfToSBDVlan().find(vrf)) {
         auto const vlanId = entry->value();
         status->vrfToSBDVlanDel(vrf);
         index.del(vlanId, vrf);
      }
   }
   static L3::VrfName vrf(uint32_t number) {
      return L3::VrfName("vrf" + std::to_string(number));
   }

   Names walked(uint16_t vlanId) const {
      Names names;
      for (auto const& [vrf, sbdVlan] : status->vrfToSBDVlan()) {
         if (sbdVlan.value() == vlanId) {
            names.emplace_back(vrf.view());
         }
      }
      return names;
   }
   Names indexed(uint16_t vlanId) const {
      Names names;
      for (auto vrf = index.vrfAfter(vlanId); vrf; vrf = index.vrfAfter(vlanId, vrf)) {
         names.emplace_back(vrf->view());
      }
      return names;
   }

   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   VlanVrfIndex index{status->vrfToSBDVlan()};
};

TEST_F(VlanVrfIndexTest, HasNothingOfAVlanThatNobodyUses) {
   EXPECT_FALSE(index.vrfAfter(10));
   map("red", 10);
   EXPECT_FALSE(index.vrfAfter(20));
   unmap("red");
   EXPECT_FALSE(index.vrfAfter(10));
   EXPECT_TRUE(index.isInOrder());
}

TEST_F(VlanVrfIndexTest, CountsTheVrfsOfEachVlanAndTheVlansThatHaveAny) {
   map("red", 10);
   map("blue", 10);
   map("green", 20);
   EXPECT_EQ(index.vlans(), 2u);
   EXPECT_EQ(index.vrfs(10), 2u);
   unmap("red");
   EXPECT_EQ(index.vlans(), 2u);
   EXPECT_EQ(index.vrfs(10), 1u);
   unmap("blue");
   EXPECT_EQ(index.vlans(), 1u);
   EXPECT_EQ(index.vrfs(10), 0u);
   unmap("green");
   EXPECT_EQ(index.vlans(), 0u);
   map("red", 10);
   EXPECT_EQ(index.vlans(), 1u);
}

TEST_F(VlanVrfIndexTest, LeavesOutValuesThatAreNoVlan) {
   for (auto const value : {uint16_t{0}, uint16_t{4095}, uint16_t{65535}}) {
      map("red", value);
      unmap("red");
   }
   map("red", 4094);
   EXPECT_THAT(indexed(4094), testing::ElementsAre("red"));
}

TEST_F(VlanVrfIndexTest, SaysWhatAWalkOfTheMapSaysAfterAnyChange) {
   std::mt19937 random(7);
   auto const upTo = [&](uint32_t bound) {
      return static_cast<uint32_t>(random() % bound);
   };
   for (uint32_t const vrfs : {3u, 40u, 6000u}) { // the last ones fill several chunks
      for (int change = 0; change < 20000; ++change) {
         auto const name = vrf(upTo(vrfs));
         if (upTo(4) == 0) {
            unmap(name);
         } else {
            map(name, static_cast<uint16_t>(1 + upTo(3)));
         }
         if (vrfs < 100 || change % 2000 == 0) {
            auto const vlanId = static_cast<uint16_t>(1 + upTo(3));
            ASSERT_EQ(indexed(vlanId), walked(vlanId));
         }
      }
      for (uint32_t n = 0; n < vrfs; ++n) {
         unmap(vrf(n));
      }
      EXPECT_FALSE(index.vrfAfter(1));
   }
}

// VRFs that come and go during a walk: of those that stay all the time none is lost,
// and none is met twice.
TEST_F(VlanVrfIndexTest, LosesNoVrfWhileOthersComeAndGo) {
   std::mt19937 random(11);
   for (uint32_t const others : {1u, 5u, 3000u}) {
      for (uint32_t n = 0; n < 20; ++n) {
         map(vrf(n), 10);
      }
      Names met;
      for (auto at = index.vrfAfter(10); at; at = index.vrfAfter(10, at)) {
         met.emplace_back(at->view());
         for (uint32_t change = 0; change < others / 10 + 3; ++change) {
            auto const other = vrf(20 + static_cast<uint32_t>(random() % others));
            map(other, random() % 2 == 0 ? 10 : 11);
         }
      }
      for (uint32_t n = 0; n < 20; ++n) {
         EXPECT_EQ(std::ranges::count(met, std::string(vrf(n).view())), 1) << n;
      }
      auto sorted = met;
      std::ranges::sort(sorted);
      EXPECT_EQ(std::ranges::adjacent_find(sorted), sorted.end());
   }
}

TEST_F(VlanVrfIndexTest, GoesOnBehindAVrfThatWentMeanwhile) {
   map("red", 10);
   auto const first = index.vrfAfter(10);
   map("blue", 10);
   map("green", 10);
   auto expected = walked(10);
   expected.erase(expected.begin(), std::ranges::find(expected, "red") + 1);
   unmap("red");
   Names rest;
   for (auto at = index.vrfAfter(10, first); at; at = index.vrfAfter(10, at)) {
      rest.emplace_back(at->view());
   }
   EXPECT_EQ(rest, expected);
}

} // namespace
