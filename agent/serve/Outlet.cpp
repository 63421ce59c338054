#include "agent/serve/Outlet.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>

namespace Agent {

namespace {

using Clock = std::chrono::steady_clock;

// So much of a pipe that says that it takes something is taken without waiting, where
// nobody else writes to it.
constexpr size_t kTaken = PIPE_BUF;

Descriptor openedAgain(int descriptor) {
   auto const path = "/proc/self/fd/" + std::to_string(descriptor);
   return Descriptor(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

// Waits until it says that it takes something, or until then.
bool takes(int descriptor, Clock::time_point end) noexcept {
   auto const left =
      std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
   pollfd wanted{descriptor, POLLOUT, 0};
   return poll(&wanted, 1, static_cast<int>(std::max<decltype(left)>(left, 0))) > 0;
}

} // namespace

Outlet::Outlet(int descriptor)
   : descriptor_(descriptor), kind_(kindOf(descriptor)),
     own_(kind_ == Kind::pipeOrTerminal ? openedAgain(descriptor) : Descriptor()) {}

Outlet::Kind Outlet::kindOf(int descriptor) {
   struct stat status{};
   if (fstat(descriptor, &status) != 0) {
      return Kind::file;
   }
   if (S_ISSOCK(status.st_mode)) {
      return Kind::socket;
   }
   return S_ISFIFO(status.st_mode) || isatty(descriptor) == 1 ? Kind::pipeOrTerminal
                                                              : Kind::file;
}

ssize_t Outlet::writePart(std::string_view text) const noexcept {
   auto const part = std::min(text.size(), kTaken);
   switch (kind_) {
      case Kind::socket:
         return send(descriptor_, text.data(), part, MSG_DONTWAIT | MSG_NOSIGNAL);
      case Kind::pipeOrTerminal:
         return own_ ? ::write(own_.number(), text.data(), part)
                     : writeShared(text.substr(0, part));
      case Kind::file:
         break;
   }
   return ::write(descriptor_, text.data(), text.size());
}

// A terminal that another user has opened: others share its description, and are not to
// find it changed for longer than this takes.
ssize_t Outlet::writeShared(std::string_view text) const noexcept {
   int const flags = fcntl(descriptor_, F_GETFL);
   fcntl(descriptor_, F_SETFL, flags | O_NONBLOCK);
   auto const count = ::write(descriptor_, text.data(), text.size());
   int const error = errno;
   fcntl(descriptor_, F_SETFL, flags);
   errno = error;
   return count;
}

Outlet::Written Outlet::writeAtEnd(std::string_view text) const noexcept {
   constexpr size_t kMegabyte = size_t{1} << 20;
   auto const end = Clock::now() +
                    kPatience * static_cast<int64_t>(10 + 10 * text.size() / kMegabyte);
   Written all{0, 0};
   while (all.bytes < text.size() && all.error == 0 && Clock::now() < end) {
      auto const part = write(text.substr(all.bytes, kMegabyte), kPatience);
      if (part.bytes == 0 && part.error == 0) {
         break;
      }
      all.bytes += part.bytes;
      all.error = part.error;
   }
   return all;
}

Outlet::Written Outlet::write(std::string_view text,
                              std::chrono::milliseconds patience) const noexcept {
   Written written{0, 0};
   auto const end = Clock::now() + patience;
   while (written.bytes < text.size()) {
      if (canBeFull() && !takes(descriptor_, end)) {
         break;
      }
      auto const count = writePart(text.substr(written.bytes));
      if (count >= 0) {
         written.bytes += static_cast<size_t>(count);
      } else if (errno == EAGAIN) {
         if (Clock::now() >= end) {
            break;
         }
      } else if (errno != EINTR) {
         written.error = errno;
         break;
      }
   }
   return written;
}

} // namespace Agent
