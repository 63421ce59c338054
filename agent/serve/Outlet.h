#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace Agent {

// A standard stream of an agent that goes on. Whoever reads it may be slow, or may have
// stopped: a pipe, a socket or a terminal is given what it takes, and is not waited
// for.
class Outlet {
 public:
   explicit Outlet(int descriptor);

   // Whether its reader may keep others waiting; a file has none.
   bool canBeFull() const noexcept { return canBeFull_; }

   struct Written {
      size_t bytes; // of the text, from its beginning
      int error;    // that kept the rest from being written; 0 for none
   };
   // Writes as much of the text as is taken, when each part is within that time.
   // Allocates nothing, and may be called by a signal handler.
   Written write(std::string_view text,
                 std::chrono::milliseconds patience) const noexcept;

 private:
   int descriptor_;
   bool canBeFull_;
};

} // namespace Agent
