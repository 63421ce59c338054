#pragma once

#include "agent/serve/EventLoop.h"
#include "agent/serve/LiveStream.h"

#include <cstddef>
#include <string_view>

namespace Agent {

// Results of an agent that goes on, on standard output. What is more than can be kept
// for a reader who does not take it is left out, and standard error told how much.
// Event thread only.
class LiveResults {
 public:
   explicit LiveResults(EventLoop& loop);

   // Keeps the line, or lines that belong together, to be written next.
   void print(std::string_view text);
   // To be called at the end of each turn of the loop: writes what is kept. InputError
   // if it cannot be written, here and below.
   void turnEnd();

   // Writes what is kept, as long as somebody takes it. InputError if nobody does.
   void finish();

 private:
   static constexpr size_t kMost = size_t{64} << 20;

   void tellOfLeftOut();

   LiveStream stream_;
   size_t leftOut_ = 0; // changes, since the last one that was kept
};

} // namespace Agent
