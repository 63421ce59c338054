#include "scenarios/Scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

using namespace Support;
using testing::IsEmpty;

namespace {

// A thousand scenarios a case: the ten cases are the ten thousand scenarios.
constexpr uint32_t kScenarios = 1000;

class Modes : public testing::TestWithParam<uint32_t> {
 protected:
   static constexpr auto kSync = Vorn::RunMode::synchronous;
   static constexpr auto kAsync = Vorn::RunMode::asynchronous;

   using Sides = std::array<Side, 4>;

   static Sides sidesOf(World const& world, uint32_t seed) {
      auto const af = seed % 8 == 0 ? kIpv6 : kIpv4;
      return {Side("synchronous", world, kSync,
                   std::make_unique<Kolm::UnlimitedShare>(), af),
              Side("asynchronous", world, kAsync,
                   std::make_unique<Kolm::UnlimitedShare>(), af),
              Side("yielding after every item", world, kAsync,
                   std::make_unique<Kolm::PollShare>(1), af),
              Side("yielding at random", world, kAsync,
                   std::make_unique<Kolm::RandomShare>(seed, 3), af)};
   }

   // What ends wrong, after events that meet the machines in every state of their
   // start. A restart may come at any time; it does not come to all machines at once.
   static std::vector<std::string> play(uint32_t seed, bool statusMayGo) {
      World world(seed);
      world.inputs.fill();
      world.inputs.statusMayGoIs(statusMayGo);
      auto sides = sidesOf(world, seed);
      for (auto& side : sides) {
         leaveRandomOutputs(seed, *side.coll, *side.joins);
         side.start();
      }
      std::vector<std::string> found;
      for (uint32_t left = world.inputs.below(30); left != 0; --left) {
         for (auto& side : sides) {
            if (world.inputs.oneIn(24)) {
               side.stop();
               side.start();
            }
            side.slices(world.inputs.below(8));
         }
         world.inputs.step();
         if (world.inputs.oneIn(8)) {
            compare(sides, !statusMayGo, found);
         }
      }
      compare(sides, !statusMayGo, found);
      return found;
   }

   static void compare(Sides& sides, bool areEqual, std::vector<std::string>& found) {
      for (auto& side : sides) {
         auto const complaints = side.complaints();
         found.insert(found.end(), complaints.begin(), complaints.end());
         if (areEqual && side.outputs() != sides[0].outputs()) {
            found.push_back(side.name() + ": ends otherwise than the first");
         }
      }
   }
};

TEST_P(Modes, EndInTheSameOutputsWhichAreThePlainRules) {
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      ASSERT_THAT(play(seed, false), IsEmpty()) << "seed " << seed;
   }
}

TEST_P(Modes, EndWithThePlainRulesOutputsAlsoWhereTheStatusComesAndGoes) {
   for (uint32_t seed = GetParam(); seed < GetParam() + kScenarios; ++seed) {
      ASSERT_THAT(play(seed, true), IsEmpty()) << "seed " << seed;
   }
}

INSTANTIATE_TEST_SUITE_P(TenThousandScenarios, Modes,
                         testing::Range(0U, 10 * kScenarios, kScenarios));

} // namespace
