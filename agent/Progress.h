#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Agent {

// A progress bar on standard error, for work that takes longer than a moment. Shown on
// a terminal only, and not when NO_COLOR is set; gone when the work is done.
class Progress {
 public:
   // what: the work, as in "replaying". total: its amount; 0 if it is not known.
   Progress(std::string what, size_t total);
   Progress(Progress const&) = delete;
   Progress& operator=(Progress const&) = delete;
   ~Progress();

   // That much more is done.
   void step(size_t amount) {
      if (isShown_) {
         advance(amount);
      }
   }

 private:
   void advance(size_t amount);

   std::string what_;
   size_t total_;
   size_t done_ = 0;
   bool isShown_;
   bool isDrawn_ = false;
   std::chrono::steady_clock::time_point next_;
};

} // namespace Agent
