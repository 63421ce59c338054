#include "agent/serve/SignalWatch.h"

#include "agent/Terminal.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace Agent {

namespace {

// A signal that is ignored and blocked would be received all the same.
bool isIgnored(int signal) {
   struct sigaction present{};
   sigaction(signal, nullptr, &present);
   return present.sa_handler == SIG_IGN;
}

// They stay blocked when the watch goes: one that comes while the process ends finds it
// ending already.
int blocked(std::vector<int> const& signals) {
   sigset_t wanted;
   sigemptyset(&wanted);
   for (int const signal : signals) {
      sigaddset(&wanted, signal);
   }
   sigprocmask(SIG_BLOCK, &wanted, nullptr);
   return signalfd(-1, &wanted, SFD_NONBLOCK | SFD_CLOEXEC);
}

} // namespace

WantedSignals::WantedSignals()
   : hasTerminal_(Agent::hasTerminal()), followed_{SIGINT, SIGTERM} {
   if (!isIgnored(SIGHUP)) {
      followed_.push_back(SIGHUP);
      if (!hasTerminal_) {
         sigset_t early;
         sigemptyset(&early);
         sigaddset(&early, SIGHUP);
         sigprocmask(SIG_BLOCK, &early, nullptr);
      }
   }
}

SignalWatch::SignalWatch(EventLoop& loop, std::vector<int> const& signals,
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
