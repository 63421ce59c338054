#include "zin/Hash.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

// Each process has a random hash seed, so each run of a test walks the collections in
// another order. A test that fails tells its seed, and MCAST_TEST_SEED sets it again.
namespace {

constexpr char const* kVariable = "MCAST_TEST_SEED";

class SeedTeller : public testing::EmptyTestEventListener {
   void OnTestStart(testing::TestInfo const&) override { isTold_ = false; }
   void OnTestPartResult(testing::TestPartResult const& result) override {
      if (result.failed() && !isTold_) {
         isTold_ = true;
         std::printf("hash seed %u: %s=%u repeats it\n", Zin::HashHelper::hashSeed32(),
                     kVariable, Zin::HashHelper::hashSeed32());
      }
   }

   bool isTold_ = false;
};

[[maybe_unused]] bool const registered = [] {
   if (char const* const seed = std::getenv(kVariable)) {
      Zin::HashHelper::hashSeed32Is(
         static_cast<uint32_t>(std::strtoul(seed, nullptr, 10)));
   }
   testing::UnitTest::GetInstance()->listeners().Append(new SeedTeller);
   return true;
}();

} // namespace
