#include "agent/serve/ServiceManager.h"

#include <fmt/format.h>

#include <sys/socket.h>
#include <systemd/sd-daemon.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace Agent {

namespace {

// What could not be told is tried again after this time.
constexpr auto kNextTry = std::chrono::seconds(1);

} // namespace

ServiceManager::ServiceManager(EventLoop& loop, Host& host)
   : host_(host), slicesSeen_(host.slices()), watchdog_(loop, [this] { goesOn(); }),
     again_(loop, [] {}) { // the end of that turn tells
   if (char const* const path = std::getenv("NOTIFY_SOCKET")) {
      std::string_view const name = path;
      socket_ = Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
      isSupervised_ =
         socket_ && !name.empty() && name.size() < sizeof address_.sun_path;
      if (isSupervised_) {
         address_.sun_family = AF_UNIX;
         std::memcpy(address_.sun_path, name.data(), name.size());
         // A name of no file begins with a zero byte, which the variable cannot hold.
         address_.sun_path[0] = name.front() == '@' ? '\0' : name.front();
         addressSize_ =
            static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
      }
   }
   uint64_t microseconds = 0;
   if (isSupervised_ && sd_watchdog_enabled(0, &microseconds) > 0) {
      watchdog_.every(std::chrono::microseconds(microseconds) / 2);
   }
}

// Never waits: a supervisor that does not listen is no reason to stop.
bool ServiceManager::tell(std::string_view text) const {
   return sendto(socket_.number(), text.data(), text.size(),
                 MSG_DONTWAIT | MSG_NOSIGNAL,
                 reinterpret_cast<sockaddr const*>(&address_),
                 addressSize_) == static_cast<ssize_t>(text.size());
}

std::string ServiceManager::status() const {
   auto const phase = host_.phase();
   if (phase.kind != Phase::Kind::ready) {
      return phase.text();
   }
   auto const vlans = host_.state().transitIntfColl->intf().size();
   return fmt::format("ready: {} transit VLAN{}", vlans, vlans == 1 ? "" : "s");
}

void ServiceManager::turnEnd() {
   if (!isSupervised_) {
      return;
   }
   auto const now = status();
   if (now == told_) {
      return;
   }
   bool const isReady = !isReadyTold_ && host_.phase().kind == Phase::Kind::ready;
   if (tell((isReady ? "READY=1\nSTATUS=" : "STATUS=") + now)) {
      told_ = now;
      isReadyTold_ = isReadyTold_ || isReady;
   } else {
      again_.onceAfter(kNextTry);
   }
}

void ServiceManager::stopping() const {
   if (isSupervised_) {
      static_cast<void>(
         tell("STOPPING=1\nSTATUS=stopping; the outputs stay as they are"));
   }
}

void ServiceManager::goesOn() {
   bool const isIdle = host_.pending() == 0;
   if (isIdle || host_.slices() != slicesSeen_) {
      slicesSeen_ = host_.slices();
      static_cast<void>(tell("WATCHDOG=1")); // who hears nothing has not read the last
   }
}

} // namespace Agent
