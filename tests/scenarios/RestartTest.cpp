#include "scenarios/Scenario.h"
#include "support/Leaves.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <random>

using namespace Support;
using testing::IsEmpty;

namespace {

// What is changed in the outputs from here on, leaf by leaf.
class Changes {
 public:
   explicit Changes(Side const& side) : trees_{Tree(*side.coll), Tree(*side.joins)} {}

   // How many notifications there were.
   size_t size() const {
      size_t size = 0;
      for (auto const& tree : trees_) {
         size += tree.recorder.changes().size();
      }
      return size;
   }
   // How many leaves were right already, and are.
   size_t kept() const {
      size_t size = 0;
      for (auto const& tree : trees_) {
         size += tree.kept().size();
      }
      return size;
   }
   // Those of them that were not left alone for a moment between.
   std::vector<std::string> inVain() const {
      std::vector<std::string> all;
      for (auto const& tree : trees_) {
         std::ranges::copy(touched(tree.kept(), tree.recorder.changes()),
                           std::back_inserter(all));
      }
      return all;
   }

 private:
   struct Tree {
      explicit Tree(Pelk::Entity& entity)
         : root(entity), before(leavesOf(entity)), recorder(entity) {}
      Leaves kept() const { return inBoth(before, leavesOf(root)); }
      Pelk::Entity& root;
      Leaves before;
      TreeRecorder recorder;
   };
   std::array<Tree, 2> trees_;
};

constexpr uint16_t kVlans[] = {1, 10, 20, 30, 40, 4094};

// Inputs at random; three times in four most VLANs are transit VLANs, so that much
// stands in the outputs that is right.
class BusyWorld : public World {
 public:
   explicit BusyWorld(uint32_t seed) : World(seed) {
      inputs.fill();
      if (inputs.oneIn(4)) {
         return;
      }
      auto const status = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
      status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.1")));
      for (auto const vlan : kVlans) {
         if (!inputs.oneIn(4)) {
            L3::VrfName const vrf("vrf-" + std::to_string(vlan));
            config->transitVrfIs(vrf);
            status->vrfToSBDVlanIs(vrf, vlan);
            pegVlans->pegVlanIs(vlan);
         }
      }
      dir->vtiStatusIs(status);
      if (mlag->mlagState() == Mlag::MlagState::withheld) {
         mlag->mlagStateIs(Mlag::MlagState::inactive);
      }
   }
};

// What is right by the inputs, of which some is missing or otherwise, and what others
// left, in the same VLANs and in others.
void leaveSomeOfTheRight(Side& side, uint32_t seed) {
   side.start();
   side.scheduler->runUntilIdle();
   side.stop();
   std::mt19937 random(seed);
   for (auto const vlan : kVlans) {
      if (random() % 4 == 0) {
         side.joins->vlanDel(vlan);
      }
      if (random() % 4 == 0) {
         side.coll->intfDel(Lidra::IntfId("Vlan" + std::to_string(vlan)));
      }
   }
   if (random() % 4 != 0) {
      leaveRandomOutputs(seed, *side.coll, *side.joins);
   }
}

class Restart : public testing::TestWithParam<uint32_t> {
 protected:
   static constexpr uint32_t kScenarios = 250;

   // A machine whose slices are cut at random, or not at all, or that is synchronous.
   static Side sideOf(World const& world, uint32_t seed) {
      if (seed % 5 == 0) {
         return Side("synchronous", world, Vorn::RunMode::synchronous,
                     std::make_unique<Kolm::UnlimitedShare>());
      }
      return Side("asynchronous", world, Vorn::RunMode::asynchronous,
                  std::make_unique<Kolm::RandomShare>(seed, 1 + seed % 5));
   }

   // Starts that end, after some slices, in the middle; then one that ends well.
   static void crashAndStart(Side& side, std::mt19937& random) {
      for (auto crashes = random() % 5; crashes != 0; --crashes) {
         side.start();
         side.slices(static_cast<uint32_t>(random() % 40));
         side.stop();
      }
      side.start();
      side.scheduler->runUntilIdle();
   }
};

TEST_P(Restart, OverUnchangedInputsSendsNotOneNotification) {
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      BusyWorld world(seed);
      auto side = sideOf(world, seed);
      leaveRandomOutputs(seed, *side.coll, *side.joins);
      side.start();
      ASSERT_THAT(side.complaints(), IsEmpty()) << "seed " << seed;
      Changes const changes(side);
      side.stop();
      std::mt19937 random(seed);
      crashAndStart(side, random);
      ASSERT_THAT(side.complaints(), IsEmpty()) << "seed " << seed;
      ASSERT_EQ(changes.size(), 0U) << "seed " << seed;
   }
}

TEST_P(Restart, OverChangedInputsTouchesNothingThatIsRightAndMendsTheRest) {
   size_t kept = 0;
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      BusyWorld world(seed);
      auto side = sideOf(world, seed);
      leaveRandomOutputs(seed, *side.coll, *side.joins);
      side.start();
      side.scheduler->runUntilIdle();
      side.stop();
      for (int left = 6; left != 0; --left) {
         world.inputs.step();
      }
      if (seed % 2 == 0) {
         leaveRandomOutputs(seed + 1, *side.coll, *side.joins);
      }
      Changes const changes(side);
      std::mt19937 random(seed);
      crashAndStart(side, random);
      ASSERT_THAT(side.complaints(), IsEmpty()) << "seed " << seed;
      ASSERT_THAT(changes.inVain(), IsEmpty()) << "seed " << seed;
      kept += changes.kept();
   }
   EXPECT_GT(kept, kScenarios);
}

// A share that ends each slice after this many items.
std::unique_ptr<Kolm::Share> shareOf(uint32_t items) {
   return std::make_unique<Kolm::PollShare>(items);
}

class Crash : public testing::TestWithParam<uint32_t> {};

TEST_P(Crash, AtAnySliceOfAStartLeavesTheNextOneToEndInTheSameOutputs) {
   constexpr uint32_t kScenarios = 100;
   uint32_t crashes = 0;
   size_t kept = 0;
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      BusyWorld world(seed);
      auto const items = 1 + seed % 4;
      Side whole("never stopped", world, Vorn::RunMode::asynchronous, shareOf(items));
      leaveSomeOfTheRight(whole, seed);
      whole.start();
      uint32_t slices = 0;
      while (whole.scheduler->runSlice()) {
         ++slices;
      }
      ASSERT_THAT(whole.complaints(), IsEmpty()) << "seed " << seed;
      auto const expected = whole.outputs();

      for (uint32_t crash = 0; crash <= slices; ++crash, ++crashes) {
         SCOPED_TRACE(testing::Message() << "seed " << seed << ", slice " << crash);
         Side side("stopped", world, Vorn::RunMode::asynchronous, shareOf(items));
         leaveSomeOfTheRight(side, seed);
         Changes const changes(side);
         side.start();
         side.slices(crash);
         side.stop();
         side.start();
         ASSERT_THAT(side.complaints(), IsEmpty());
         ASSERT_EQ(side.outputs(), expected);
         ASSERT_THAT(changes.inVain(), IsEmpty());
         kept += changes.kept();
      }
   }
   EXPECT_GT(crashes, kScenarios * 10);
   EXPECT_GT(kept, crashes);
}

INSTANTIATE_TEST_SUITE_P(FourHundredScenarios, Crash, testing::Range(0U, 400U, 100U));
INSTANTIATE_TEST_SUITE_P(AThousandScenarios, Restart, testing::Range(0U, 1000U, 250U));

} // namespace
