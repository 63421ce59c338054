#pragma once

#include "agent/Descriptor.h"
#include "agent/serve/EventLoop.h"

#include <functional>
#include <initializer_list>

namespace Agent {

// Receives signals as events of a loop; while it lives they interrupt nothing. One
// thread only.
class SignalWatch {
 public:
   // Those that are wanted, and who is told the number of one.
   SignalWatch(EventLoop& loop, std::initializer_list<int> signals,
               std::function<void(int signal)> received);

 private:
   void readAll() const;

   std::function<void(int)> received_;
   Descriptor descriptor_;
   EventLoop::Follower follower_;
};

} // namespace Agent
