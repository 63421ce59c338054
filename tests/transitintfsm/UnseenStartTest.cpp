#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/McastEvpnConfigSm0.h"
#include "McastVpnLib/TransitIntfSm/inputs/PegVlanStatusSm4.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusSm2.h"
#include "kolm/Share.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Trace.h"
#include "support/NotificationRecorder.h"
#include "support/RandomInputs.h"
#include "support/RandomOutputs.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// What a start leaves out that nobody sees: it must end as one that is traced does, and
// get there in as many slices.
namespace {

using namespace Support;
namespace Evpn = Irb::Multicast::Evpn;

using Lines = std::vector<std::string>;

// Takes the place of the trace sink, with all levels on.
class Watched final : public Pelk::TraceSink {
 public:
   Watched()
      : levelsBefore_(Pelk::Trace::levels()), before_(Pelk::Trace::sinkIs(this)) {
      Pelk::Trace::levelsIs(Pelk::TraceLevels::all());
   }
   ~Watched() override {
      Pelk::Trace::levelsIs(levelsBefore_);
      Pelk::Trace::sinkIs(before_);
   }
   void trace(Pelk::TraceRecord const&) override {}

 private:
   Pelk::TraceLevels levelsBefore_;
   Pelk::TraceSink* before_;
};

// A collection's version, and its members in order.
template <typename Map, typename F>
void describe(Lines& lines, std::string const& path, Map const& map, F member) {
   auto const here = path + "." + Map::name();
   lines.push_back(here + " version " + std::to_string(map.version()));
   for (auto const& entry : map) {
      using Key = std::remove_cvref_t<decltype(entry.key())>;
      auto const at = here + "[" + Zin::ValueTraits<Key>::toText(entry.key()) + "]";
      lines.push_back(at);
      member(at, entry.value());
   }
}
template <typename Map>
void describe(Lines& lines, std::string const& path, Map const& map) {
   describe(lines, path, map, [](auto const&, auto const&) {});
}

// Inputs from a seed, outputs that somebody has left, and a machine.
struct World {
   World(uint32_t seed, bool synchronous)
      : inputs(seed, *config, *mlag, dir, *peg), isSynchronous(synchronous) {
      inputs.statusMayGoIs(false);
      inputs.fill();
      if (!inputs.oneIn(3)) {
         leaveRandomOutputs(seed, *coll, *joins);
      }
   }

   void follow(Pelk::Entity& entity) {
      auto& recorder =
         *recorders.emplace_back(std::make_unique<NotificationRecorder>(entity));
      recorder.actionIs([this] {
         if (inputs.oneIn(3)) {
            inputs.step();
         } else if (inputs.oneIn(3)) {
            joins->vlanIs(77)->routerIntfIs(Lidra::IntfId("Ethernet9"));
         }
      });
   }
   void followSome() {
      if (inputs.oneIn(3)) {
         follow(*coll);
      }
      if (inputs.oneIn(3)) {
         follow(*joins);
      }
      for (auto const& intf : coll->intf()) {
         if (inputs.oneIn(4)) {
            follow(*intf.value());
         }
      }
   }

   void start(uint32_t polls) {
      Vorn::SmControl control;
      control.runModeIs(isSynchronous ? Vorn::RunMode::synchronous
                                      : Vorn::RunMode::asynchronous);
      scheduler->shareIs(std::make_unique<Kolm::PollShare>(polls));
      control.taskSchedulerIs(scheduler);
      sm = Evpn::transitIntfSmFactory(Lidra::AddressFamily::ipv4, config, dir, mlag,
                                      coll, joins, peg, control);
   }
   // A slice, and perhaps a change of the inputs.
   bool runSlice(bool changesCome) {
      ++slices;
      bool const more = scheduler->runSlice();
      if (changesCome && more && inputs.oneIn(10)) {
         inputs.step();
      }
      return more;
   }

   // Tables, outputs and what the scans have stored.
   Lines state() const {
      Lines lines{std::to_string(slices) + " slices"};
      describe(lines, "coll", coll->intf(), [&](auto const& at, auto const& intf) {
         lines.push_back(at + " " + intf->ipAddr().stringValue());
      });
      describe(lines, "joins", joins->vlan(),
               [&](auto const& atVlan, auto const& vlan) {
                  describe(lines, atVlan, vlan->routerIntf());
                  describe(lines, atVlan, vlan->group(),
                           [&](auto const& at, auto const& group) {
                              describe(lines, at, group->source(),
                                       [&](auto const& in, auto const& leaf) {
                                          describe(lines, in, leaf->includeIntf());
                                          describe(lines, in, leaf->excludeIntf());
                                       });
                           });
               });
      for (auto const& group : sm->groupByAttr0()) {
         for (auto const& vrf : group.value()->coll()) {
            lines.push_back(std::to_string(group.key()) + " has " +
                            std::string(vrf.key().view()));
         }
      }
      auto const child = sm->vtiStatusDirSm1()->vxlanChild();
      if (child != nullptr) {
         for (auto const& vrf : child->remembered()) {
            lines.push_back(std::string(vrf.key().view()) + " on " +
                            std::to_string(vrf.value().vlanId.value()));
         }
         lines.push_back(std::to_string(child->versionVrfToSBDVlan()));
      }
      lines.push_back(std::to_string(sm->mcastEvpnConfigSm0()->versionTransitVrf()));
      lines.push_back(std::to_string(sm->pegVlanStatusSm4()->versionPegVlan()));
      lines.emplace_back(sm->ready() ? "ready" : "not ready");
      for (auto const& recorder : recorders) {
         lines.insert(lines.end(), recorder->texts().begin(), recorder->texts().end());
      }
      return lines;
   }

   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> peg =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
   RandomInputs inputs;
   bool isSynchronous;
   Pelk::Ptr<Evpn::TransitIntfColl> coll = Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   Pelk::Ptr<Kolm::TaskScheduler> scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   std::vector<std::unique_ptr<NotificationRecorder>> recorders;
   int slices = 0;
   Pelk::Ptr<Evpn::TransitIntfSm> sm;
};

class TransitIntfSmUnseenStart : public testing::Test {
 protected:
   TransitIntfSmUnseenStart() { Pelk::Trace::levelsIs(Pelk::TraceLevels()); }

   // Starts the world's machine and runs it.
   static Lines run(World& world, uint32_t polls, bool changesCome) {
      world.start(polls);
      while (world.runSlice(changesCome)) {
      }
      return world.state();
   }
   // The same with everything traced, which leaves nothing out.
   static Lines runWatched(World& world, uint32_t polls, bool changesCome) {
      Watched const watched;
      return run(world, polls, changesCome);
   }
};

TEST_F(TransitIntfSmUnseenStart, EndsAsOneThatIsTraced) {
   for (uint32_t seed = 1; seed <= 2000; ++seed) {
      World seen(seed, true);
      World unseen(seed, true);
      auto const expected = runWatched(seen, 1, false);
      ASSERT_EQ(run(unseen, 1, false), expected) << seed;
   }
}

TEST_F(TransitIntfSmUnseenStart, GetsThereInAsManySlicesWhateverComesBetweenThem) {
   for (uint32_t seed = 1; seed <= 2000; ++seed) {
      World seen(seed, false);
      World unseen(seed, false);
      auto const polls = 1 + seed % 4;
      auto const expected = runWatched(seen, polls, seed % 2 == 0);
      ASSERT_EQ(run(unseen, polls, seed % 2 == 0), expected) << seed;
   }
}

TEST_F(TransitIntfSmUnseenStart, TellsTheSameAndHearsTheSameFromWhoFollowsTheOutputs) {
   size_t told = 0;
   for (uint32_t seed = 1; seed <= 2000; ++seed) {
      World seen(seed, seed % 2 == 0);
      World unseen(seed, seed % 2 == 0);
      seen.followSome();
      unseen.followSome();
      auto const expected = runWatched(seen, 1 + seed % 3, false);
      ASSERT_EQ(run(unseen, 1 + seed % 3, false), expected) << seed;
      for (auto const& recorder : unseen.recorders) {
         told += recorder->texts().size();
      }
   }
   EXPECT_GT(told, 1000u);
}

TEST_F(TransitIntfSmUnseenStart, RemovesWhatAFollowerOfAnOutputWritesMeanwhile) {
   for (bool const followsJoins : {false, true}) {
      World world(1, true);
      world.joins->vlanDelAll();
      world.coll->intfDelAll();
      world.config->transitVrfIs("one of its own");
      world.peg->pegVlanIs(500);
      world.dir->vtiStatusIs(Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1")));
      world.dir->vtiStatus(Lidra::IntfId("Vxlan1"))
         ->vrfToSBDVlanIs("one of its own", 500);
      NotificationRecorder recorder(
         followsJoins ? static_cast<Pelk::Entity&>(*world.joins) : *world.coll);
      recorder.actionIs([&] {
         recorder.actionIs(nullptr);
         world.joins->vlanIs(600)->routerIntfIs(Lidra::IntfId("Ethernet9"));
         world.coll->intfIs(Lidra::IntfId("Ethernet9"), {});
      });
      world.start(1);
      EXPECT_TRUE(world.sm->ready());
      EXPECT_TRUE(world.joins->vlan(500));
      EXPECT_FALSE(world.joins->vlan(600));
      EXPECT_FALSE(world.coll->intf(Lidra::IntfId("Ethernet9")));
   }
}

} // namespace
