#include "agent/serve/ServiceManager.h"

#include <fmt/format.h>

#include <systemd/sd-daemon.h>

#include <chrono>
#include <cstdlib>

namespace Agent {

namespace {

// A supervisor that cannot be told anything is no reason to stop.
void tell(std::string const& text) {
   static_cast<void>(sd_notify(0, text.c_str()));
}

} // namespace

ServiceManager::ServiceManager(EventLoop& loop, Host& host)
   : host_(host), isSupervised_(std::getenv("NOTIFY_SOCKET") != nullptr),
     watchdog_(loop, [this] { goesOn(); }) {
   uint64_t microseconds = 0;
   if (isSupervised_ && sd_watchdog_enabled(0, &microseconds) > 0) {
      watchdog_.every(std::chrono::microseconds(microseconds) / 2);
   }
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
   if (auto const now = status(); now != told_) {
      told_ = now;
      bool const isReady = !isReadyTold_ && host_.phase().kind == Phase::Kind::ready;
      isReadyTold_ = isReadyTold_ || isReady;
      tell((isReady ? "READY=1\nSTATUS=" : "STATUS=") + now);
   }
}

void ServiceManager::stopping() const {
   if (isSupervised_) {
      tell("STOPPING=1\nSTATUS=stopping; the outputs stay as they are");
   }
}

void ServiceManager::goesOn() {
   bool const isIdle = host_.pending() == 0;
   if (isIdle || host_.slices() != slicesSeen_) {
      slicesSeen_ = host_.slices();
      tell("WATCHDOG=1");
   }
}

} // namespace Agent
