#pragma once

#include "agent/Descriptor.h"

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
   bool canBeFull() const noexcept { return kind_ != Kind::file; }

   struct Written {
      size_t bytes; // of the text, from its beginning
      int error;    // that kept the rest from being written; 0 for none
   };
   // Writes as much of the text as is taken without a pause. Allocates nothing, and may
   // be called by a signal handler, as all here.
   Written write(std::string_view text) const noexcept { return write(text, {}); }
   // When there is no later: goes on as long as the reader takes something each second,
   // in all ten seconds, and ten more for each MiB.
   Written writeAtEnd(std::string_view text) const noexcept;

   // How long a reader is waited for when there is no later.
   static constexpr std::chrono::milliseconds kPatience{1000};

 private:
   enum class Kind { file, pipeOrTerminal, socket };

   // Waits so long for a reader who takes nothing.
   Written write(std::string_view text,
                 std::chrono::milliseconds patience) const noexcept;
   ssize_t writePart(std::string_view text) const noexcept;
   ssize_t writeShared(std::string_view text) const noexcept;

   static Kind kindOf(int descriptor);

   int const descriptor_;
   Kind const kind_;
   // The same pipe or terminal as a description of this process's own, which does not
   // block; others share that of the descriptor. None if there can be none.
   Descriptor const own_;
};

} // namespace Agent
