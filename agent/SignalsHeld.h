#pragma once

#include <csignal>
#include <initializer_list>

namespace Agent {

// While it lives, no signal that a user or a supervisor sends ends the process.
class SignalsHeld {
 public:
   explicit SignalsHeld(bool isNeeded = true) : isNeeded_(isNeeded) {
      if (isNeeded_) {
         sigset_t held;
         sigemptyset(&held);
         for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&held, signal);
         }
         sigprocmask(SIG_BLOCK, &held, &before_);
      }
   }
   SignalsHeld(SignalsHeld const&) = delete;
   SignalsHeld& operator=(SignalsHeld const&) = delete;
   ~SignalsHeld() {
      if (isNeeded_) {
         sigprocmask(SIG_SETMASK, &before_, nullptr);
      }
   }

 private:
   bool isNeeded_;
   sigset_t before_{};
};

} // namespace Agent
