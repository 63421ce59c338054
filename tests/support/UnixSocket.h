#pragma once

#include "agent/Descriptor.h"
#include "support/LineReader.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace TestSupport {

// A Unix socket, and what became of binding or connecting it (::bind, ::connect) to a
// path.
class UnixSocket {
 public:
   int descriptor() const noexcept { return descriptor_.number(); }

 protected:
   UnixSocket(std::string const& path, int type,
              int (*attach)(int, sockaddr const*, socklen_t))
      : descriptor_(socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::memcpy(address.sun_path, path.data(),
                  std::min(path.size(), sizeof address.sun_path - 1));
      isAttached_ = attach(descriptor(), reinterpret_cast<sockaddr const*>(&address),
                           sizeof address) == 0;
   }

   bool isAttached() const noexcept { return isAttached_; }

 private:
   Agent::Descriptor descriptor_;
   bool isAttached_;
};

// One that stands at a path.
class BoundSocket : public UnixSocket {
 public:
   BoundSocket(std::string const& path, int type) : UnixSocket(path, type, ::bind) {}

   bool isBound() const noexcept { return isAttached(); }
};

// A connection to one, as any program may make one.
class UnixClient : public UnixSocket {
 public:
   explicit UnixClient(std::string const& path)
      : UnixSocket(path, SOCK_STREAM, ::connect) {}

   // How much was taken.
   ssize_t send(std::string const& text) const {
      return ::send(descriptor(), text.data(), text.size(), MSG_NOSIGNAL);
   }
   // The next line as JSON; null if there is none.
   nlohmann::json next() {
      auto const line = lines_.next();
      return line ? nlohmann::json::parse(*line, nullptr, false) : nlohmann::json();
   }
   nlohmann::json ask(nlohmann::json const& question) {
      send(question.dump() + '\n');
      return next();
   }

 private:
   LineReader lines_{descriptor()};
};

} // namespace TestSupport
