#pragma once

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace TestSupport {

// A pipe, or two sockets that are connected; each end is closed once.
class Pipe {
 public:
   enum class Kind { pipe, sockets };

   explicit Pipe(Kind kind = Kind::pipe) {
      int const error =
         kind == Kind::pipe
            ? pipe2(ends_.data(), O_CLOEXEC)
            : socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data());
      if (error != 0) {
         std::abort();
      }
   }
   Pipe(Pipe const&) = delete;
   Pipe& operator=(Pipe const&) = delete;
   ~Pipe() {
      closeReading();
      closeWriting();
   }

   int reading() const noexcept { return ends_[0]; }
   int writing() const noexcept { return ends_[1]; }
   void closeReading() { closeEnd(ends_[0]); }
   void closeWriting() { closeEnd(ends_[1]); }

   // What comes through it, up to its end or so many bytes.
   std::string read(size_t most = SIZE_MAX) const {
      std::string text;
      std::array<char, 4096> part;
      while (text.size() < most) {
         auto const count = ::read(reading(), part.data(), part.size());
         if (count <= 0) {
            break;
         }
         text.append(part.data(), static_cast<size_t>(count));
      }
      return text;
   }

 private:
   static void closeEnd(int& end) {
      if (end >= 0) {
         close(end);
         end = -1;
      }
   }

   std::array<int, 2> ends_{};
};

} // namespace TestSupport
