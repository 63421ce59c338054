#pragma once

#include "pelk/Export.h"

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
   static bool multiThreaded() noexcept { return multiThreaded_; }
   static void multiThreadedIs(bool multiThreaded) noexcept {
      multiThreaded_ = multiThreaded;
   }

 private:
   static bool multiThreaded_;
};

} // namespace Pelk
