#pragma once

#include "pelk/Export.h"

#include <cstdint>

namespace Pelk {

// Says whether the process runs more than one thread. Use counts are changed with
// plain arithmetic while it does not, and with atomic read-modify-write while it
// does.
//
// Requires: the flag is turned on before the second thread starts, and off only
// after the last other thread was joined, so that a change of the flag always
// happens before or after every other access to a count.
class PELK_EXPORT ThreadControl {
 public:
   // Whether there is more than one thread. Off at first.
   static bool multiThreaded() noexcept { return plainAbove_ != 0; }
   static void multiThreadedIs(bool multiThreaded) noexcept {
      plainAbove_ = multiThreaded ? UINTPTR_MAX : 0;
   }

   // Whether there is an object, and its uses are changed with plain arithmetic: both
   // questions in one comparison, for a handle that may be null.
   static bool countsPlainly(void const* object) noexcept {
      return reinterpret_cast<uintptr_t>(object) > plainAbove_;
   }

 private:
   static uintptr_t plainAbove_; // 0, or the highest address while there are threads
};

} // namespace Pelk
