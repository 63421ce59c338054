#pragma once

#include "support/LineReader.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace TestSupport {

inline sockaddr_un unixAddress(std::string const& path) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::memcpy(address.sun_path, path.data(),
               std::min(path.size(), sizeof address.sun_path - 1));
   return address;
}

// A Unix socket that stands at a path.
class BoundSocket {
 public:
   BoundSocket(std::string const& path, int type)
      : descriptor_(socket(AF_UNIX, type | SOCK_CLOEXEC, 0)) {
      auto const address = unixAddress(path);
      isBound_ = bind(descriptor_, reinterpret_cast<sockaddr const*>(&address),
                      sizeof address) == 0;
   }
   BoundSocket(BoundSocket const&) = delete;
   BoundSocket& operator=(BoundSocket const&) = delete;
   ~BoundSocket() { close(descriptor_); }

   bool isBound() const noexcept { return isBound_; }
   int descriptor() const noexcept { return descriptor_; }

 private:
   int descriptor_;
   bool isBound_ = false;
};

// A connection to a Unix socket, as any program may make one.
class UnixClient {
 public:
   explicit UnixClient(std::string const& path)
      : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
      auto const address = unixAddress(path);
      isConnected_ = connect(descriptor_, reinterpret_cast<sockaddr const*>(&address),
                             sizeof address) == 0;
   }
   UnixClient(UnixClient const&) = delete;
   UnixClient& operator=(UnixClient const&) = delete;
   ~UnixClient() { close(descriptor_); }

   bool isConnected() const noexcept { return isConnected_; }
   int descriptor() const noexcept { return descriptor_; }

   // How much was taken.
   ssize_t send(std::string const& text) const {
      return ::send(descriptor_, text.data(), text.size(), MSG_NOSIGNAL);
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
   int descriptor_;
   bool isConnected_ = false;
   LineReader lines_{descriptor_};
};

} // namespace TestSupport
