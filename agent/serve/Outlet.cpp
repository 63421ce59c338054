#include "agent/serve/Outlet.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace Agent {

namespace {

// So much of one that says so is taken without waiting.
constexpr size_t kTaken = PIPE_BUF;

bool hasReader(int descriptor) {
   struct stat status{};
   return fstat(descriptor, &status) == 0 &&
          (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ||
           isatty(descriptor) == 1);
}

} // namespace

Outlet::Outlet(int descriptor)
   : descriptor_(descriptor), canBeFull_(hasReader(descriptor)) {}

Outlet::Written Outlet::write(std::string_view text,
                              std::chrono::milliseconds patience) const noexcept {
   Written written{0, 0};
   while (written.bytes < text.size()) {
      pollfd wanted{descriptor_, POLLOUT, 0};
      if (canBeFull_ && poll(&wanted, 1, static_cast<int>(patience.count())) == 0) {
         break;
      }
      auto const left = text.substr(written.bytes);
      auto const count =
         ::write(descriptor_, left.data(),
                 canBeFull_ ? std::min(left.size(), kTaken) : left.size());
      if (count >= 0) {
         written.bytes += static_cast<size_t>(count);
      } else if (errno != EINTR && errno != EAGAIN) {
         written.error = errno;
         break;
      }
   }
   return written;
}

} // namespace Agent
