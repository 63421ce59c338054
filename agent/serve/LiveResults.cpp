#include "agent/serve/LiveResults.h"

#include "agent/Streams.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>

namespace Agent {

namespace {

constexpr int kPatience = 1000; // milliseconds, at the end

// So much of one that says so is taken without waiting.
constexpr size_t kTaken = PIPE_BUF;

bool canBeFull() {
   struct stat status{};
   return fstat(STDOUT_FILENO, &status) == 0 &&
          (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ||
           isatty(STDOUT_FILENO) == 1);
}

} // namespace

LiveResults::LiveResults(EventLoop& loop)
   : loop_(loop), canBeFull_(Agent::canBeFull()) {}

void LiveResults::print(std::string_view text) {
   if (kept_.size() - written_ + text.size() > kMost) {
      ++leftOut_;
      return;
   }
   tellOfLeftOut();
   kept_ += text;
}

void LiveResults::tellOfLeftOut() {
   if (leftOut_ != 0) {
      std::fputs(
         fmt::format("mcastvpn-agent: standard output: nobody read the results; "
                     "{} of them were left out\n",
                     leftOut_)
            .c_str(),
         stderr);
      leftOut_ = 0;
   }
}

void LiveResults::flush() {
   if (!follower_) {
      writeWhileTaken(0);
   }
}

void LiveResults::finish() {
   tellOfLeftOut();
   writeWhileTaken(kPatience);
   if (!kept_.empty()) {
      resultsFailed(ETIMEDOUT);
   }
}

void LiveResults::writeWhileTaken(int patience) {
   while (written_ < kept_.size()) {
      pollfd wanted{STDOUT_FILENO, POLLOUT, 0};
      if (canBeFull_ && poll(&wanted, 1, patience) == 0) {
         break;
      }
      auto const left = kept_.size() - written_;
      auto const part = canBeFull_ ? std::min(left, kTaken) : left;
      auto const count = write(STDOUT_FILENO, kept_.data() + written_, part);
      if (count >= 0) {
         written_ += static_cast<size_t>(count);
      } else if (errno != EINTR && errno != EAGAIN) {
         resultsFailed(errno);
      }
   }
   // What was written is given up when it is the most of it, or all.
   if (written_ > kept_.size() / 2) {
      kept_.erase(0, written_);
      written_ = 0;
   }
   if (kept_.empty()) {
      follower_ = nullptr;
   } else if (!follower_) {
      follower_ = std::make_unique<EventLoop::Follower>(loop_, STDOUT_FILENO,
                                                        EventLoop::Interest::writing,
                                                        [this] { writeWhileTaken(0); });
   }
}

} // namespace Agent
