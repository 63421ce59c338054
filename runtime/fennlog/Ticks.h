#pragma once

#include <chrono>
#include <cstdint>

namespace Fennlog {

// The time of a ring record: the processor's time stamp counter where there is one,
// which is the cheapest clock to read, else nanoseconds of the steady clock. A ring
// turns ticks into time when it is read.
inline uint64_t ticks() noexcept {
#if defined(__x86_64__)
   return __builtin_ia32_rdtsc(); // its header takes long to read
#else
   return static_cast<uint64_t>(
      std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

} // namespace Fennlog
