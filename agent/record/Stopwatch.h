#pragma once

#include "fennlog/Ticks.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace Agent {

// The clocks of the process: one that is right, and one that is quick to read.
struct ProcessClocks {
   static std::chrono::nanoseconds time() noexcept {
      return std::chrono::steady_clock::now().time_since_epoch();
   }
   static uint64_t ticks() noexcept { return Fennlog::ticks(); }
};

// The time since it was made, for whoever asks every few hundred nanoseconds: the clock
// is read twice a millisecond, and in between the processor's counter tells how far the
// time has gone, at the rate that both showed before.
template <typename Clocks = ProcessClocks>
class Stopwatch {
 public:
   Stopwatch() : begin_(read()), measured_(begin_), read_(begin_) {}

   // Never less than the last time.
   std::chrono::microseconds passed() noexcept {
      auto const ticks = Clocks::ticks() - read_.ticks; // many, if they went back
      auto time = read_.time;
      if (rate_ == 0 || ticks > kTrusted) {
         readAndMeasure();
         time = read_.time;
      } else {
         time += std::chrono::nanoseconds(
            static_cast<int64_t>(static_cast<double>(ticks) * rate_));
      }
      last_ = std::max(last_, time - begin_.time);
      return std::chrono::duration_cast<std::chrono::microseconds>(last_);
   }

 private:
   // Processors count one to five in a nanosecond, others nanoseconds.
   static constexpr double kLeastRate = 0.05; // nanoseconds a tick
   static constexpr double kMostRate = 2;
   static constexpr uint64_t kTrusted = uint64_t{1} << 20;  // without a clock
   static constexpr uint64_t kMeasured = uint64_t{1} << 24; // for the rate
   static constexpr uint64_t kAtOnce = uint64_t{1} << 12;   // while a clock is read

   struct Reading {
      std::chrono::nanoseconds time;
      uint64_t ticks;
   };

   // Both of the same moment, if the thread is not interrupted again and again.
   static Reading read() noexcept {
      Reading reading{};
      for (int left = 3; left > 0; --left) {
         reading.ticks = Clocks::ticks();
         reading.time = Clocks::time();
         if (Clocks::ticks() - reading.ticks < kAtOnce) {
            break;
         }
      }
      return reading;
   }

   void readAndMeasure() noexcept {
      read_ = read();
      if (auto const ticks = read_.ticks - measured_.ticks; ticks >= kMeasured) {
         auto const rate = static_cast<double>((read_.time - measured_.time).count()) /
                           static_cast<double>(ticks);
         // One that stood still for a while, or jumped, tells nothing.
         rate_ = rate > kLeastRate && rate < kMostRate ? rate : 0;
         measured_ = read_;
      }
   }

   Reading begin_;
   Reading measured_; // since which the next rate is measured
   Reading read_;     // the last one
   double rate_ = 0;  // nanoseconds a tick; 0 as long as it is not known
   std::chrono::nanoseconds last_{0};
};

} // namespace Agent
