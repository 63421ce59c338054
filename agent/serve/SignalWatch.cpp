#include "agent/serve/SignalWatch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace Agent {

namespace {

// They stay blocked when the watch goes: one that comes while the process ends finds it
// ending already.
int blocked(std::initializer_list<int> signals) {
   sigset_t wanted;
   sigemptyset(&wanted);
   for (int const signal : signals) {
      sigaddset(&wanted, signal);
   }
   sigprocmask(SIG_BLOCK, &wanted, nullptr);
   return signalfd(-1, &wanted, SFD_NONBLOCK | SFD_CLOEXEC);
}

} // namespace

SignalWatch::SignalWatch(EventLoop& loop, std::initializer_list<int> signals,
                         std::function<void(int)> received)
   : received_(std::move(received)),
     descriptor_(Descriptor::made(blocked(signals), "signalfd")),
     follower_(loop, descriptor_.number(), EventLoop::Interest::reading,
               [this] { readAll(); }) {}

void SignalWatch::readAll() const {
   signalfd_siginfo received{};
   while (read(descriptor_.number(), &received, sizeof received) == sizeof received) {
      received_(static_cast<int>(received.ssi_signo));
   }
}

} // namespace Agent
