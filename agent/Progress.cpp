#include "agent/Progress.h"

#include "agent/Terminal.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Agent {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::milliseconds(300);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr size_t kWidth = 30;

} // namespace

Progress::Progress(std::string what, size_t total)
   : what_(std::move(what)), total_(total), isShown_(total != 0 && mayDecorate(stderr)),
     next_(Clock::now() + kPatience) {}

Progress::~Progress() {
   if (isDrawn_) {
      std::fputs("\r\033[K", stderr);
   }
}

void Progress::advance(size_t amount) {
   done_ += amount;
   auto const now = Clock::now();
   if (now < next_) {
      return;
   }
   next_ = now + kInterval;
   isDrawn_ = true;
   auto const filled = std::min(kWidth, kWidth * done_ / total_);
   auto const bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
   std::fprintf(stderr, "\r%s [%s] %zu %%", what_.c_str(), bar.c_str(),
                100 * done_ / total_);
   std::fflush(stderr);
}

} // namespace Agent
