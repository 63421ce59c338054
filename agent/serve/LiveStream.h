#pragma once

#include "agent/serve/EventLoop.h"
#include "agent/serve/Outlet.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Agent {

// What an agent that goes on prints to a standard stream: written while who reads it
// takes it, and kept while he does not, so that he never holds up the loop. Event
// thread only.
class LiveStream {
 public:
   // failed: called when something cannot be written, with the number of what went
   // wrong; what was kept is given up before.
   using Failed = std::function<void(int error)>;

   // most: how many bytes are kept.
   LiveStream(EventLoop& loop, int descriptor, size_t most, Failed failed);

   Outlet const& outlet() const noexcept { return outlet_; }
   std::string_view kept() const noexcept {
      return std::string_view(kept_).substr(written_);
   }
   bool hasRoomFor(size_t bytes) const noexcept {
      return !outlet_.canBeFull() || kept().size() + bytes <= most_;
   }
   // Takes the memory for all that can be kept, so that keep() takes none.
   void reserve() { kept_.reserve(2 * most_); }

   // Keeps a text to be written next. Requires room for it.
   void keep(std::string_view text);
   // Writes of what is kept what is taken at once.
   void write() { took(outlet_.write(kept())); }
   // When there is no later: writes as Outlet::writeAtEnd() does.
   void finish() { took(outlet_.writeAtEnd(kept())); }
   // To be called at the end of each turn of the loop: what is left is written as soon
   // as it is taken.
   void turnEnd();

 private:
   void took(Outlet::Written const& written);

   EventLoop& loop_;
   int const descriptor_;
   size_t const most_;
   Failed const failed_;
   Outlet const outlet_;
   std::string kept_;
   size_t written_ = 0;                            // of it
   std::unique_ptr<EventLoop::Follower> follower_; // while something is kept
};

} // namespace Agent
