#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <random>

namespace TestSupport {

// Where what is random comes from: a generator with a seed, or the bytes of a file.
// Copies draw from the same source.
using Random = std::function<uint32_t()>;

inline Random seededRandom(uint32_t seed) {
   return [engine = std::make_shared<std::mt19937>(seed)] {
      return static_cast<uint32_t>((*engine)());
   };
}

} // namespace TestSupport
