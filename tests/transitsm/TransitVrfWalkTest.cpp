#include "McastVpnLib/McastVpnTransitSm/TransitVrfWalk.h"

#include "support/TransitFixture.h"

#include <random>

namespace {

using namespace Support;
using Irb::Multicast::Evpn::TransitVrfWalk;
using testing::ElementsAreArray;

L3::VrfName nameOf(size_t number) {
   return std::string_view("vrf" + std::to_string(number));
}

// The outputs, and a configuration of VRFs that are mapped to the VLANs of their
// numbers.
class TransitVrfWalks : public testing::Test {
 protected:
   TransitVrfWalks() {
      for (uint32_t number = 1; number <= kVrfs; ++number) {
         config->transitVrfIs(nameOf(number));
      }
   }

   static uint32_t vlanOf(L3::VrfName const& vrf) {
      return static_cast<uint32_t>(std::stoul(std::string(vrf.view().substr(3))));
   }
   void outputsOf(uint16_t vlan) {
      joins->vlanIs(vlan)->groupIs({})->sourceIs({})->includeIntfIs(
         Lidra::IntfId("Null0"));
      coll->intfIs(Lidra::VlanIntfId::vlanIdToIntfId(vlan), {});
   }
   template <typename Visit>
   void walk(Visit visit) {
      TransitVrfWalk(config->transitVrf(), joins->vlan(), coll->intf())
         .each(&vlanOf, visit);
   }

   static constexpr uint32_t kVrfs = 100;
   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<TransitIntfColl> coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
};

TEST_F(TransitVrfWalks, EveryVrfIsVisitedOnceInTheCollectionsOrder) {
   std::vector<L3::VrfName> expected;
   for (auto const& member : config->transitVrf()) {
      expected.push_back(member.key());
   }
   std::vector<L3::VrfName> visited;
   walk([&](L3::VrfName const& vrf, TransitVrfWalk::Found const*) {
      visited.push_back(vrf);
   });
   EXPECT_EQ(visited.size(), kVrfs);
   EXPECT_THAT(visited, ElementsAreArray(expected));
}

TEST_F(TransitVrfWalks, NoVrfsMakeNoVisit) {
   config->transitVrfDelAll();
   walk([&](L3::VrfName const&, TransitVrfWalk::Found const*) { FAIL(); });
}

TEST_F(TransitVrfWalks, FindsTheOutputsOfEachVrfsVlan) {
   for (uint16_t vlan = 1; vlan <= kVrfs; vlan = static_cast<uint16_t>(vlan + 2)) {
      outputsOf(vlan);
   }
   walk([&](L3::VrfName const& vrf, TransitVrfWalk::Found const* found) {
      auto const vlan = static_cast<uint16_t>(vlanOf(vrf));
      ASSERT_NE(found, nullptr);
      EXPECT_EQ(found->sbdVlan, vlan);
      EXPECT_EQ(found->joins, joins->vlan(vlan).get());
      EXPECT_EQ(found->intf, coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(vlan)).get());
      EXPECT_EQ(found->intf != nullptr, vlan % 2 == 1);
   });
}

TEST_F(TransitVrfWalks, LevelsThatAreEmptyAreNoHindrance) {
   joins->vlanIs(1);
   joins->vlanIs(2)->groupIs({});
   uint32_t found = 0;
   walk([&](L3::VrfName const&, TransitVrfWalk::Found const* at) {
      found += at != nullptr && at->joins != nullptr ? 1u : 0u;
   });
   EXPECT_EQ(found, 2u);
}

TEST_F(TransitVrfWalks, NumbersOfNoVlanHaveNoOutputs) {
   outputsOf(7);
   TransitVrfWalk(config->transitVrf(), joins->vlan(), coll->intf())
      .each(
         [](L3::VrfName const& vrf) {
            return vlanOf(vrf) % 2 == 0 ? TransitVrfWalk::kNoVlan : 4096 + vlanOf(vrf);
         },
         [](L3::VrfName const& vrf, TransitVrfWalk::Found const* found) {
            ASSERT_NE(found, nullptr);
            EXPECT_EQ(found->sbdVlan == TransitVrfWalk::kNoVlan, vlanOf(vrf) % 2 == 0);
            EXPECT_EQ(found->joins, nullptr);
            EXPECT_EQ(found->intf, nullptr);
         });
}

// What is found is what is there at the visit, whoever changes the outputs meanwhile.
TEST_F(TransitVrfWalks, WhatIsFoundIsStillThereAtTheVisit) {
   std::mt19937 random(1);
   for (uint16_t vlan = 1; vlan <= kVrfs; ++vlan) {
      outputsOf(vlan);
   }
   uint32_t known = 0;
   uint32_t unknown = 0;
   walk([&](L3::VrfName const& vrf, TransitVrfWalk::Found const* found) {
      auto const vlan = static_cast<uint16_t>(vlanOf(vrf));
      if (found != nullptr) {
         ++known;
         EXPECT_EQ(found->joins, joins->vlan(vlan).get());
         EXPECT_EQ(found->intf,
                   coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(vlan)).get());
      } else {
         ++unknown;
      }
      auto const other = static_cast<uint16_t>(1 + random() % kVrfs);
      switch (random() % 20) {
         case 0:
            joins->vlanDel(other);
            break;
         case 1:
            coll->intfDel(Lidra::VlanIntfId::vlanIdToIntfId(other));
            break;
         case 2:
            outputsOf(other);
            break;
         default:
            break;
      }
   });
   EXPECT_GT(known, 0u);
   EXPECT_GT(unknown, 0u);
}

// The same VRFs, walked by the collection's own iterator while the same is done.
TEST_F(TransitVrfWalks, ChangesOfTheVrfsAreMetAsByTheCollectionsIterator) {
   for (uint32_t seed = 0; seed < 200; ++seed) {
      auto const twin = Pelk::makePtr<Routing::Multicast::Evpn::Config>();
      config->transitVrfDelAll();
      for (uint32_t number = 1; number <= kVrfs; ++number) {
         config->transitVrfIs(nameOf(number));
         twin->transitVrfIs(nameOf(number));
      }
      auto const change = [](Routing::Multicast::Evpn::Config& which,
                             L3::VrfName const& at, std::mt19937& random) {
         if (random() % 30 != 0) {
            return;
         }
         switch (random() % 4) {
            case 0:
               which.transitVrfDel(at);
               break;
            case 1:
               which.transitVrfDel(at);
               which.transitVrfIs(at);
               break;
            case 2:
               which.transitVrfDel(nameOf(1 + random() % kVrfs));
               break;
            default:
               which.transitVrfIs(nameOf(1 + random() % (2 * kVrfs)));
               break;
         }
      };
      std::vector<L3::VrfName> expected;
      std::mt19937 random(seed);
      for (auto member = twin->transitVrf().iterate(); member; ++member) {
         auto const vrf = member.key();
         expected.push_back(vrf);
         change(*twin, vrf, random);
      }
      std::vector<L3::VrfName> visited;
      random.seed(seed);
      bool hasChanged = false;
      auto const before = config->transitVrf().version();
      walk([&](L3::VrfName const& vrf, TransitVrfWalk::Found const* found) {
         hasChanged = hasChanged || config->transitVrf().version() != before;
         EXPECT_EQ(found == nullptr, hasChanged);
         visited.push_back(vrf);
         change(*config, vrf, random);
      });
      ASSERT_THAT(visited, ElementsAreArray(expected)) << "seed " << seed;
   }
}

} // namespace
