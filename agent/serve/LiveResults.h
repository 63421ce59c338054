#pragma once

#include "agent/serve/EventLoop.h"

#include <memory>
#include <string>
#include <string_view>

namespace Agent {

// Results of an agent that goes on: written to standard output while who reads it takes
// them, and kept while he does not, so that he never holds up the loop. What is more
// than can be kept is left out, and standard error told how much. Event thread only.
class LiveResults {
 public:
   explicit LiveResults(EventLoop& loop);

   // Keeps the line, or lines that belong together, to be written next.
   void print(std::string_view text);
   // Writes what is kept, unless it is waited for who takes it. InputError if it cannot
   // be written, here and below.
   void flush();

   // Writes what is kept, as long as somebody takes it. InputError if nobody does.
   void finish();

 private:
   static constexpr size_t kMost = size_t{64} << 20;

   void tellOfLeftOut();
   void writeWhileTaken(int patience);

   EventLoop& loop_;
   std::string kept_;
   size_t written_ = 0; // of it
   size_t leftOut_ = 0; // changes, since the last one that was kept
   bool canBeFull_;     // a pipe, a socket, a terminal
   std::unique_ptr<EventLoop::Follower> follower_; // while something is kept
};

} // namespace Agent
