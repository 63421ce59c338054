#include "kolm/Share.h"

#include "pelk/Assert.h"

#include <algorithm>

namespace Kolm {

void TimeShare::sliceBegin(Task const&, Slice& slice) {
   slice.lastRead = Slice::Clock::now();
   slice.deadline = slice.lastRead + share_;
}

bool TimeShare::shouldYield(Task const&, Slice& slice) {
   uint64_t const poll = slice.polls + 1;
   if (poll < slice.nextReadPoll) {
      return false;
   }
   auto const now = Slice::Clock::now();
   if (now >= slice.deadline) {
      return true;
   }
   auto const spent = static_cast<uint64_t>((now - slice.lastRead).count()) + 1;
   auto const left = static_cast<uint64_t>((slice.deadline - now).count());
   uint64_t const polls = poll - slice.lastReadPoll;
   slice.nextReadPoll = poll + std::clamp<uint64_t>(left * polls / (8 * spent), 1,
                                                    std::min(2 * polls, kMaxSkip));
   slice.lastRead = now;
   slice.lastReadPoll = poll;
   return false;
}

PollShare::PollShare(uint64_t k) : k_(k) {
   PELK_ASSERT(k >= 1, "A poll share yields at every k-th poll, and k is at least 1");
}

bool PollShare::shouldYield(Task const&, Slice& slice) {
   return (slice.polls + 1) % k_ == 0;
}

bool ScriptedShare::shouldYield(Task const&, Slice&) {
   if (used_ == answers_.size()) {
      return false;
   }
   return answers_[used_++];
}

RandomShare::RandomShare(uint64_t seed, uint64_t oneIn) : random_(seed), oneIn_(oneIn) {
   PELK_ASSERT(oneIn >= 1, "A random share yields once in at least 1 poll");
}

bool RandomShare::shouldYield(Task const&, Slice&) {
   return random_() % oneIn_ == 0;
}

} // namespace Kolm
