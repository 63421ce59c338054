#pragma once

#include "agent/serve/EventLoop.h"

#include <memory>
#include <string>
#include <string_view>

namespace Agent {

// Results of an agent that goes on: written to standard output while who reads it takes
// them, and kept while he does not, so that he never holds up the loop. Event thread
// only.
class LiveResults {
 public:
   explicit LiveResults(EventLoop& loop);

   // Keeps the text, to be written next.
   void print(std::string_view text) { kept_ += text; }
   // Writes what is kept, unless it is waited for who takes it. InputError if it cannot
   // be written, here and below.
   void flush();

   // Whether so much is kept that no more should be made.
   bool isFull() const noexcept { return kept_.size() > kMost; }

   // Writes what is kept, as long as somebody takes it. InputError if nobody does.
   void finish();

 private:
   static constexpr size_t kMost = size_t{1} << 20;

   void writeWhileTaken(int patience);

   EventLoop& loop_;
   std::string kept_;
   bool canBeFull_;                                // a pipe, a socket, a terminal
   std::unique_ptr<EventLoop::Follower> follower_; // while something is kept
};

} // namespace Agent
