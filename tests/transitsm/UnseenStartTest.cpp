#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "pelk/Trace.h"
#include "support/NotificationRecorder.h"
#include "support/RandomInputs.h"
#include "support/RandomOutputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// What a start leaves out that nobody sees: it must end as one that is traced does.
namespace {

using namespace Support;
namespace Evpn = Irb::Multicast::Evpn;
namespace Trace = Evpn::TransitTrace;

using Lines = std::vector<std::string>;

constexpr auto kIpv4 = Lidra::AddressFamily::ipv4;

template <typename Key>
std::string textOf(Key const& key) {
   return Zin::ValueTraits<Key>::toText(key);
}

// A collection's version, and its members in order.
template <typename Map, typename F>
void describe(Lines& lines, std::string const& path, Map const& map, F member) {
   auto const here = path + "." + Map::name();
   lines.push_back(here + " version " + std::to_string(map.version()));
   for (auto const& entry : map) {
      auto const at = here + "[" + textOf(entry.key()) + "]";
      lines.push_back(at);
      member(at, entry.value());
   }
}
template <typename Map>
void describe(Lines& lines, std::string const& path, Map const& map) {
   describe(lines, path, map, [](auto const&, auto const&) {});
}

// Inputs from a seed, outputs that somebody has left, and a reactor.
struct World {
   explicit World(uint32_t seed)
      : inputs(seed, *config, *mlag, dir, [](auto const&) {}) {
      dir->vtiStatusIs(status);
      status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.1")));
      status->mlagVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.99")));
   }

   void map(char const* vrf, uint16_t vlanId) { status->vrfToSBDVlanIs(vrf, vlanId); }

   // Makes it one of many, with what an earlier life or somebody else has left.
   void fill(uint32_t seed) {
      for (uint32_t left = inputs.below(40); left != 0; --left) {
         inputs.step();
      }
      leaveRandomOutputs(seed, *coll, *joins);
   }

   void follow(Pelk::Entity& entity) {
      auto& recorder =
         *recorders.emplace_back(std::make_unique<NotificationRecorder>(entity));
      recorder.actionIs([this] {
         notified.push_back(recorders.size());
         if (inputs.oneIn(2)) {
            inputs.step();
         }
      });
   }
   // Some of what is there already.
   void followSome() {
      auto const some = [this](Pelk::Entity& entity) {
         if (inputs.oneIn(8)) {
            follow(entity);
         }
      };
      some(*coll);
      some(*joins);
      for (auto const& intf : coll->intf()) {
         some(*intf.value());
      }
      for (auto const& vlan : joins->vlan()) {
         some(*vlan.value());
         for (auto const& group : vlan.value()->group()) {
            some(*group.value());
            for (auto const& source : group.value()->source()) {
               some(*source.value());
            }
         }
      }
   }

   void start() { sm = Evpn::transitSmFactory(kIpv4, config, dir, mlag, coll, joins); }
   void startSeen() {
      Trace::ring()->levelsIs(Pelk::TraceLevels::all());
      start();
      Trace::ring()->levelsIs(Pelk::TraceLevels());
   }

   // Tables and outputs, with their versions, and who was told what.
   Lines state() const {
      Lines lines;
      describe(lines, "coll", coll->intf(), [&](auto const& at, auto const& intf) {
         lines.push_back(at + " " + intf->ipAddr().stringValue());
      });
      describe(lines, "joins", joins->vlan(),
               [&](auto const& atVlan, auto const& vlan) {
                  describe(lines, atVlan, vlan->routerIntf());
                  describe(lines, atVlan, vlan->group(),
                           [&](auto const& atGroup, auto const& group) {
                              describe(lines, atGroup, group->source(),
                                       [&](auto const& at, auto const& source) {
                                          describe(lines, at, source->includeIntf());
                                          describe(lines, at, source->excludeIntf());
                                       });
                           });
               });
      describe(lines, "sm", sm->vrfToSbdVlan(), [&](auto const& at, auto vlanId) {
         lines.push_back(at + " " + std::to_string(vlanId.value()));
      });
      describe(lines, "sm", sm->sbdVlanToVrf(), [&](auto const& at, auto const& entry) {
         lines.push_back(at + " is of " + std::to_string(entry->vlanId().value()));
         describe(lines, at, entry->vrf());
      });
      for (auto const& recorder : recorders) {
         for (auto const& text : recorder->texts()) {
            lines.push_back(text);
         }
      }
      for (auto const number : notified) {
         lines.push_back("told " + std::to_string(number));
      }
      return lines;
   }

   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   RandomInputs inputs;
   Pelk::Ptr<Evpn::TransitIntfColl> coll = Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   std::vector<std::unique_ptr<NotificationRecorder>> recorders;
   std::vector<size_t> notified;
   Pelk::Ptr<Evpn::TransitSm> sm;
};

class TransitSmUnseenStart : public testing::Test {
 protected:
   TransitSmUnseenStart() : ringLevels_(Trace::ring()->levels()) {
      Trace::ring()->levelsIs(Pelk::TraceLevels());
   }
   ~TransitSmUnseenStart() override { Trace::ring()->levelsIs(ringLevels_); }

 private:
   Pelk::TraceLevels ringLevels_;
};

TEST_F(TransitSmUnseenStart, EndsAsOneThatIsTraced) {
   for (uint32_t seed = 1; seed <= 3000; ++seed) {
      World seen(seed);
      World unseen(seed);
      for (auto* const world : {&seen, &unseen}) {
         world->fill(seed);
      }
      seen.startSeen();
      unseen.start();
      ASSERT_EQ(unseen.state(), seen.state()) << seed;
   }
}

TEST_F(TransitSmUnseenStart, TellsWhoFollowsWhatIsThereTheSameAndHearsTheSameFromThem) {
   size_t told = 0;
   for (uint32_t seed = 1; seed <= 6000; ++seed) {
      World seen(seed);
      World unseen(seed);
      for (auto* const world : {&seen, &unseen}) {
         world->fill(seed);
         // What is left may be of one kind only.
         if (seed % 4 == 1) {
            world->joins->vlanDelAll();
         } else if (seed % 4 == 2) {
            world->coll->intfDelAll();
         }
         world->followSome();
      }
      seen.startSeen();
      unseen.start();
      ASSERT_EQ(unseen.state(), seen.state()) << seed;
      told += unseen.notified.size();
   }
   EXPECT_GT(told, 300u);
}

TEST_F(TransitSmUnseenStart, IsOneWithoutAFollowerOfTheCollections) {
   for (bool const followsIntfs : {false, true}) {
      World world(1);
      world.config->transitVrfIs("red");
      world.map("red", 10);
      auto const recorder = std::make_unique<NotificationRecorder>(
         followsIntfs ? static_cast<Pelk::Entity&>(*world.coll) : *world.joins);
      world.start();
      EXPECT_EQ(recorder->texts().size(), 1u);
   }
}

TEST_F(TransitSmUnseenStart, RecordsEveryVrfOfAVlanThatManyShare) {
   World world(1);
   for (int vrf = 0; vrf < 100; ++vrf) {
      auto const name = "vrf-" + std::to_string(vrf);
      world.config->transitVrfIs(name.c_str());
      world.map(name.c_str(), static_cast<uint16_t>(10 + vrf % 2));
   }
   world.start();
   EXPECT_EQ(world.coll->intf().version(), 2u);
   EXPECT_EQ(world.joins->vlan().version(), 2u);
   EXPECT_EQ(world.sm->sbdVlanToVrf(10)->vrf().size(), 50u);
   EXPECT_EQ(world.sm->vrfToSbdVlan().size(), 100u);
}

TEST_F(TransitSmUnseenStart, ALaterStartTakesTheTablesAsTheyAre) {
   World world(1);
   world.config->transitVrfIs("red");
   world.map("red", 10);
   world.map("blue", 20);
   world.start();
   world.coll->intfDelAll();
   world.sm->handleInitialized();
   EXPECT_EQ(world.coll->intf().size(), 1u);

   // Not recorded on its VLAN, a VRF does not make it a transit VLAN.
   world.sm->sbdVlanToVrfDelAll();
   world.sm->handleInitialized();
   EXPECT_EQ(world.coll->intf().size(), 0u);

   // Seen for the first time, it has its VLAN evaluated.
   world.sm->sbdVlanToVrfIs(20)->vrfIs("blue");
   world.sm->vrfToSbdVlanDelAll();
   world.coll->intfIs(Lidra::VlanIntfId::vlanIdToIntfId(20), {});
   world.sm->handleInitialized();
   EXPECT_FALSE(world.coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(20)));
   EXPECT_TRUE(world.coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(10)));
}

TEST_F(TransitSmUnseenStart, RefusesANumberThatIsNoVlanWhereATracedOneDoes) {
   for (bool const isSeen : {false, true}) {
      World world(1);
      world.config->transitVrfIs("red");
      world.map("red", 10);
      world.map("blue", 5000);
      EXPECT_THROW(isSeen ? world.startSeen() : world.start(), std::exception);
      EXPECT_EQ(world.status->subscribers(), 0u);
   }
}

} // namespace
