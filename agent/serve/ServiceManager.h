#pragma once

#include "agent/Host.h"
#include "agent/observe/Phase.h"
#include "agent/serve/EventLoop.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Agent {

// Tells the supervisor that started this process (systemd's protocol, NOTIFY_SOCKET)
// when the machine is ready, what it is doing, and, if it wants to be told
// (WATCHDOG_USEC), that it goes on: only while slices complete, if there are any to
// run. Without a supervisor it does nothing. Event thread only.
class ServiceManager {
 public:
   ServiceManager(EventLoop& loop, Host& host);

   // To be called at the end of each turn: tells what is new.
   void turnEnd();
   // The process is about to end.
   void stopping() const;

 private:
   void goesOn();
   std::string status() const;

   Host& host_;
   bool const isSupervised_;
   bool isReadyTold_ = false;
   std::string told_;        // the status
   uint64_t slicesSeen_ = 0; // when it was told last that this goes on
   EventLoop::Timer watchdog_;
};

} // namespace Agent
