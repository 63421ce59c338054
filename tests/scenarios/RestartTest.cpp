#include "scenarios/Scenario.h"
#include "support/TreeRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

using namespace Support;
using testing::IsEmpty;

namespace {

// "intf Vlan10" or "join 10", of a change somewhere in the outputs.
std::string keyOf(TreeChange const& change) {
   auto const& key = change.path.empty() ? change.key : change.path.front().second;
   bool const isIntf = change.path.empty() ? change.attribute == "intf"
                                           : change.path.front().first == "intf";
   return (isIntf ? "intf " : "join ") + key;
}

// What is changed in the outputs while it lives.
struct Changes {
   explicit Changes(Side const& side) : ofColl(*side.coll), ofJoins(*side.joins) {}
   std::vector<std::string> keys() const {
      std::vector<std::string> keys;
      for (auto const* recorder : {&ofColl, &ofJoins}) {
         for (auto const& change : recorder->changes()) {
            keys.push_back(keyOf(change));
         }
      }
      return keys;
   }
   TreeRecorder ofColl;
   TreeRecorder ofJoins;
};

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
      World world(seed);
      world.inputs.fill();
      auto side = sideOf(world, seed);
      leaveRandomOutputs(seed, *side.coll, *side.joins);
      side.start();
      ASSERT_THAT(side.complaints(), IsEmpty()) << "seed " << seed;
      Changes const changes(side);
      side.stop();
      std::mt19937 random(seed);
      crashAndStart(side, random);
      ASSERT_THAT(side.complaints(), IsEmpty()) << "seed " << seed;
      ASSERT_THAT(changes.keys(), IsEmpty()) << "seed " << seed;
   }
}

TEST_P(Restart, OverChangedInputsTouchesNothingThatIsRightAndMendsTheRest) {
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      World world(seed);
      world.inputs.fill();
      auto side = sideOf(world, seed);
      leaveRandomOutputs(seed, *side.coll, *side.joins);
      side.start();
      side.scheduler->runUntilIdle();
      side.stop();
      for (int left = 6; left != 0; --left) {
         world.inputs.step();
      }
      auto const before = side.outputs();
      Changes const changes(side);
      std::mt19937 random(seed);
      crashAndStart(side, random);
      ASSERT_THAT(side.complaints(), IsEmpty()) << "seed " << seed;
      auto const expected = side.expected();
      for (auto const& key : changes.keys()) {
         ASSERT_NE(Verify::standsAt(before, key), Verify::standsAt(expected, key))
            << key << " was right already, seed " << seed;
      }
   }
}

// A share that ends each slice after this many items.
std::unique_ptr<Kolm::Share> shareOf(uint32_t items) {
   return std::make_unique<Kolm::PollShare>(items);
}

class Crash : public testing::TestWithParam<uint32_t> {};

TEST_P(Crash, AtAnySliceOfAStartLeavesTheNextOneToEndInTheSameOutputs) {
   constexpr uint32_t kScenarios = 100;
   uint32_t crashes = 0;
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      World world(seed);
      world.inputs.fill();
      auto const items = 1 + seed % 4;
      Side whole("never stopped", world, Vorn::RunMode::asynchronous, shareOf(items));
      leaveRandomOutputs(seed, *whole.coll, *whole.joins);
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
         leaveRandomOutputs(seed, *side.coll, *side.joins);
         auto const before = side.outputs();
         Changes const changes(side);
         side.start();
         side.slices(crash);
         side.stop();
         side.start();
         ASSERT_THAT(side.complaints(), IsEmpty());
         ASSERT_EQ(side.outputs(), expected);
         for (auto const& key : changes.keys()) {
            ASSERT_NE(Verify::standsAt(before, key), Verify::standsAt(expected, key))
               << key << " was right already";
         }
      }
   }
   EXPECT_GT(crashes, kScenarios * 10);
}

INSTANTIATE_TEST_SUITE_P(FourHundredScenarios, Crash, testing::Range(0U, 400U, 100U));
INSTANTIATE_TEST_SUITE_P(AThousandScenarios, Restart, testing::Range(0U, 1000U, 250U));

} // namespace
