#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace OutOfMemory {

// Which allocation is the first that fails, and whether those after it fail too.
struct Shortage {
   uint64_t first = 0; // from 1
   bool lasts = false;
};

// How a piece of work ended that was done in a process of its own with a shortage.
struct Ending {
   enum class Kind {
      complete,   // it never came to the allocation that was to fail
      despite,    // an allocation failed, and nothing came of it
      toldCaller, // std::bad_alloc came to who did the work
      terminated, // the process said that std::bad_alloc escaped, and aborted
      otherwise,  // anything else
   };

   Kind kind = Kind::otherwise;
   std::string what; // what was wrong afterwards, or how the process ended otherwise
};

// Does the work in a child process. afterwards says what is wrong once the work is
// over, with all the memory there is; empty for nothing.
Ending endingOf(Shortage const& shortage, std::function<void()> const& work,
                std::function<std::string(bool isDone)> const& afterwards);

} // namespace OutOfMemory
