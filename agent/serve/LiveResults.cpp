#include "agent/serve/LiveResults.h"

#include "agent/Streams.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

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

void LiveResults::flush() {
   if (!follower_) {
      writeWhileTaken(0);
   }
}

void LiveResults::finish() {
   writeWhileTaken(kPatience);
   if (!kept_.empty()) {
      resultsFailed(ETIMEDOUT);
   }
}

void LiveResults::writeWhileTaken(int patience) {
   size_t written = 0;
   while (written < kept_.size()) {
      pollfd wanted{STDOUT_FILENO, POLLOUT, 0};
      if (canBeFull_ && poll(&wanted, 1, patience) == 0) {
         break;
      }
      auto const part =
         canBeFull_ ? std::min(kept_.size() - written, kTaken) : kept_.size() - written;
      auto const count = write(STDOUT_FILENO, kept_.data() + written, part);
      if (count >= 0) {
         written += static_cast<size_t>(count);
      } else if (errno != EINTR && errno != EAGAIN) {
         resultsFailed(errno);
      }
   }
   kept_.erase(0, written);
   if (kept_.empty()) {
      follower_ = nullptr;
   } else if (!follower_) {
      follower_ = std::make_unique<EventLoop::Follower>(loop_, STDOUT_FILENO,
                                                        EventLoop::Interest::writing,
                                                        [this] { writeWhileTaken(0); });
   }
}

} // namespace Agent
