#pragma once

#include "agent/Descriptor.h"
#include "agent/serve/EventLoop.h"

#include <functional>
#include <vector>

namespace Agent {

// The signals that an agent is told by, and what SIGHUP tells it. Event thread only.
class WantedSignals {
 public:
   // From here on SIGHUP ends no process that no terminal controls: it is received when
   // it is followed.
   WantedSignals();

   // SIGINT and SIGTERM, and SIGHUP unless whoever started the process has it ignored.
   std::vector<int> const& followed() const noexcept { return followed_; }
   // Whether a terminal controls the process, which SIGHUP tells that it has gone.
   bool hasTerminal() const noexcept { return hasTerminal_; }

 private:
   bool hasTerminal_;
   std::vector<int> followed_;
};

// Receives signals as events of a loop; while it lives they interrupt nothing. One
// thread only.
class SignalWatch {
 public:
   // Those that are wanted, and who is told the number of one.
   SignalWatch(EventLoop& loop, std::vector<int> const& signals,
               std::function<void(int signal)> received);

 private:
   void readAll() const;

   std::function<void(int)> received_;
   Descriptor descriptor_;
   EventLoop::Follower follower_;
};

} // namespace Agent
