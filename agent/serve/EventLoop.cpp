#include "agent/serve/EventLoop.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace Agent {

namespace {

constexpr int kMostAtOnce = 64;

epoll_event eventOf(int descriptor, EventLoop::Interest interest) {
   epoll_event event{};
   event.events = (interest == EventLoop::Interest::writing ? 0u : uint32_t{EPOLLIN}) |
                  (interest == EventLoop::Interest::reading ? 0u : uint32_t{EPOLLOUT});
   event.data.fd = descriptor;
   return event;
}

timespec specOf(std::chrono::nanoseconds time) {
   auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
   timespec spec{};
   spec.tv_sec = seconds.count();
   spec.tv_nsec = (time - seconds).count();
   return spec;
}

} // namespace

EventLoop::EventLoop()
   : epoll_(Descriptor::made(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")) {}

EventLoop::~EventLoop() = default;

void EventLoop::run() {
   isStopped_ = false;
   while (!isStopped_) {
      bool const hasMore = piece_ && piece_();
      if (turnEnd_) {
         turnEnd_();
      }
      if (!isStopped_) {
         turn(hasMore ? 0 : -1);
      }
   }
}

void EventLoop::turn(int timeout) {
   std::array<epoll_event, kMostAtOnce> events;
   int const count = epoll_wait(epoll_.number(), events.data(), kMostAtOnce, timeout);
   if (count < 0 && errno != EINTR) {
      systemFailed("epoll_wait");
   }
   for (int i = 0; i < count; ++i) {
      auto const found = calls_.find(events[static_cast<size_t>(i)].data.fd);
      if (found != calls_.end()) { // it may have gone in this turn
         auto const call = found->second;
         (*call)();
      }
   }
}

EventLoop::Follower::Follower(EventLoop& loop, int descriptor, Interest interest,
                              Call ready)
   : loop_(loop), descriptor_(descriptor), interest_(interest) {
   auto event = eventOf(descriptor_, interest_);
   if (epoll_ctl(loop_.epoll_.number(), EPOLL_CTL_ADD, descriptor_, &event) != 0) {
      systemFailed("epoll_ctl");
   }
   loop_.calls_[descriptor_] = std::make_shared<Call>(std::move(ready));
}

EventLoop::Follower::~Follower() {
   loop_.calls_.erase(descriptor_);
   epoll_ctl(loop_.epoll_.number(), EPOLL_CTL_DEL, descriptor_, nullptr);
}

void EventLoop::Follower::interestIs(Interest interest) {
   if (interest == interest_) {
      return;
   }
   auto event = eventOf(descriptor_, interest);
   if (epoll_ctl(loop_.epoll_.number(), EPOLL_CTL_MOD, descriptor_, &event) != 0) {
      systemFailed("epoll_ctl");
   }
   interest_ = interest;
}

EventLoop::Timer::Timer(EventLoop& loop, Call due)
   : due_(std::move(due)),
     descriptor_(Descriptor::made(
        timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create")),
     follower_(loop, descriptor_.number(), Interest::reading, [this] {
        uint64_t times = 0;
        if (read(descriptor_.number(), &times, sizeof times) == sizeof times) {
           isSet_ = isSet_ && !isOnce_;
           auto const call = due_; // the timer may go in it
           call();
        }
     }) {}

void EventLoop::Timer::onceAfter(std::chrono::nanoseconds time) {
   isOnce_ = true;
   set(time, std::chrono::nanoseconds(0));
}

void EventLoop::Timer::every(std::chrono::nanoseconds time) {
   isOnce_ = false;
   set(time, time);
}

void EventLoop::Timer::unset() {
   set(std::chrono::nanoseconds(0), std::chrono::nanoseconds(0));
   isSet_ = false;
}

void EventLoop::Timer::set(std::chrono::nanoseconds first,
                           std::chrono::nanoseconds next) {
   itimerspec const spec{specOf(next), specOf(first)};
   if (timerfd_settime(descriptor_.number(), 0, &spec, nullptr) != 0) {
      systemFailed("timerfd_settime");
   }
   isSet_ = true;
}

} // namespace Agent
