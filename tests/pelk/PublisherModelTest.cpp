#include "support/PublisherScript.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

using namespace TestSupport::Publishing;
using TestSupport::seededRandom;

class PublisherModel : public testing::TestWithParam<int> {};

TEST_P(PublisherModel, RandomScriptsGoAsTheModelSays) {
   size_t calls = 0;
   size_t nested = 0;
   for (uint32_t seed = 0; seed < 1'500; ++seed) {
      auto const expected = Script<Model>(seededRandom(seed), GetParam()).play();
      auto const seen = Script<Real>(seededRandom(seed), GetParam()).play();
      ASSERT_EQ(seen, expected) << "seed " << seed;
      calls += static_cast<size_t>(
         std::count_if(seen.begin(), seen.end(),
                       [](auto const& line) { return line.starts_with("call"); }));
      nested += static_cast<size_t>(
         std::count_if(seen.begin(), seen.end(),
                       [previous = std::string()](auto const& line) mutable {
                          return std::exchange(previous, line).starts_with("call") &&
                                 line == "publish";
                       }));
   }
   // The scripts reach what they are for.
   EXPECT_GT(calls, 10'000u);
   EXPECT_GT(nested, 1'000u);
}

INSTANTIATE_TEST_SUITE_P(Publishers, PublisherModel, testing::Values(0, 2),
                         [](auto const& weight) {
                            return weight.param == 0 ? "Stay" : "AreDestroyed";
                         });

} // namespace
