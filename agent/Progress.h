#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Agent {

// A progress bar on standard error, for work that takes longer than a moment. Shown on
// a terminal only, and not when NO_COLOR is set; gone when the work is done.
class Progress {
 public:
   // what: the work, as in "replaying". total: its steps.
   Progress(std::string what, size_t total);
   Progress(Progress const&) = delete;
   Progress& operator=(Progress const&) = delete;
   ~Progress();

   // One more step is done.
   void step() {
      if (isShown_) {
         advance();
      }
   }

 private:
   void advance();

   std::string what_;
   size_t total_;
   size_t done_ = 0;
   bool isShown_;
   bool isDrawn_ = false;
   std::chrono::steady_clock::time_point next_;
};

} // namespace Agent
