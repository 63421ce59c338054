#pragma once

#include "agent/Descriptor.h"
#include "agent/Host.h"
#include "agent/observe/Phase.h"
#include "agent/serve/EventLoop.h"

#include <sys/un.h>

#include <cstdint>
#include <string>
#include <string_view>

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
   bool tell(std::string_view text) const;

   Host& host_;
   Descriptor socket_;
   sockaddr_un address_{}; // the supervisor's
   socklen_t addressSize_ = 0;
   bool isSupervised_ = false;
   bool isReadyTold_ = false;
   std::string told_;    // the status
   uint64_t slicesSeen_; // when it was told last that this goes on
   EventLoop::Timer watchdog_;
   EventLoop::Timer again_; // while something could not be told
};

} // namespace Agent
