#include "zin/Hash.h"

#include <atomic>
#include <random>

namespace Zin {

namespace {

// The seed in the low 32 bits, and above them whether there is one yet.
constexpr uint64_t kSeedIsSet = uint64_t{1} << 32;
std::atomic<uint64_t> processSeed = 0;

} // namespace

uint32_t HashHelper::hashSeed32() noexcept {
   uint64_t seed = processSeed.load(std::memory_order_relaxed);
   if (seed == 0) {
      uint64_t const drawn = kSeedIsSet | std::random_device{}();
      // Another thread may have been first; then its seed holds.
      if (processSeed.compare_exchange_strong(seed, drawn)) {
         seed = drawn;
      }
   }
   return static_cast<uint32_t>(seed);
}

void HashHelper::hashSeed32Is(uint32_t seed) noexcept {
   processSeed.store(kSeedIsSet | seed, std::memory_order_relaxed);
}

} // namespace Zin
