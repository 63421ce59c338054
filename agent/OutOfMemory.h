#pragma once

#include <cstddef>

namespace Agent {

// What the process does while this lives, for the message if its memory is used up:
// "playing events.jsonl:12". Standard input is "-", and line 0 is none. The texts
// outlive this. Event thread only.
class Doing {
 public:
   explicit Doing(char const* what, char const* file = "", size_t line = 0) noexcept;
   Doing(Doing const&) = delete;
   Doing& operator=(Doing const&) = delete;
   ~Doing();

   // Writes what is done, the outermost first, into a buffer that ends before the end.
   // Returns where the text ends. Allocates nothing.
   static char* write(char* at, char const* end) noexcept;

 private:
   char* writeThis(char* at, char const* end) const noexcept;

   char const* what_;
   char const* file_;
   size_t line_;
   Doing const* before_;
};

// From here on an allocation that fails ends the process at once: with a message, as a
// fatal assertion does, since a machine whose handler stopped half-way must not go on.
void endWhenOutOfMemory() noexcept;

} // namespace Agent
