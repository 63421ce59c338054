#pragma once

#include "pelk/Export.h"

#include <chrono>
#include <cstdint>
#include <random>
#include <vector>

namespace Kolm {

class Task;

// What a share keeps about a task's current slice. It stands in the task, so that
// slices that are nested (a task's first slice runs in its creator, who may be inside
// another's) do not disturb each other.
struct Slice {
   // What slices are measured with.
   using Clock = std::chrono::steady_clock;

   uint64_t polls = 0; // answered in this slice

   // Each is for shares that read a clock.
   Clock::time_point deadline;
   Clock::time_point lastRead;
   uint64_t lastReadPoll = 0;
   uint64_t nextReadPoll = 0;
};

// The policy behind Task::taskShouldYield(): how much of the event thread a slice may
// take. A scheduler owns one and asks it for all of its tasks.
class PELK_EXPORT Share {
 public:
   Share() noexcept = default;
   Share(Share const&) = delete;
   Share& operator=(Share const&) = delete;
   virtual ~Share() = default;

   // A slice begins; its record is fresh.
   virtual void sliceBegin(Task const& task, Slice& slice) = 0;
   // A poll. slice.polls is the number of polls answered before it.
   virtual bool shouldYield(Task const& task, Slice& slice) = 0;
};

// A slice may last for a time; the default.
//
// Reading the clock can cost as much as a cheap item does, so not every poll reads
// it: from the pace of the polls so far the share works out how many can be skipped
// without using more than an eighth of what is left, at most 16. A slice ends late by
// the items between two reads at most.
class PELK_EXPORT TimeShare final : public Share {
 public:
   explicit TimeShare(std::chrono::nanoseconds share = std::chrono::milliseconds(1))
      : share_(share) {}

   void sliceBegin(Task const& task, Slice& slice) override;
   bool shouldYield(Task const& task, Slice& slice) override;

 private:
   static constexpr uint64_t kMaxSkip = 16;

   std::chrono::nanoseconds share_;
};

// Slices that never end early.
class PELK_EXPORT UnlimitedShare final : public Share {
 public:
   void sliceBegin(Task const&, Slice&) override {}
   bool shouldYield(Task const&, Slice&) override { return false; }
};

// Every k-th poll answers true. The count starts afresh with each slice and after each
// true. k is at least 1: fatal assertion.
class PELK_EXPORT PollShare final : public Share {
 public:
   explicit PollShare(uint64_t k);

   void sliceBegin(Task const&, Slice&) override {}
   bool shouldYield(Task const& task, Slice& slice) override;

 private:
   uint64_t k_;
};

// The polls of all tasks are answered from a list, in the order they come; once it is
// used up they are answered false.
class PELK_EXPORT ScriptedShare final : public Share {
 public:
   explicit ScriptedShare(std::vector<bool> answers) : answers_(std::move(answers)) {}

   void sliceBegin(Task const&, Slice&) override {}
   bool shouldYield(Task const& task, Slice& slice) override;

   // How many answers were given from the list.
   size_t used() const noexcept { return used_; }

 private:
   std::vector<bool> answers_;
   size_t used_ = 0;
};

// Answers true in one of `oneIn` polls, as the seed has it; the same seed gives the
// same answers on every machine. oneIn is at least 1: fatal assertion.
class PELK_EXPORT RandomShare final : public Share {
 public:
   explicit RandomShare(uint64_t seed, uint64_t oneIn = 2);

   void sliceBegin(Task const&, Slice&) override {}
   bool shouldYield(Task const& task, Slice& slice) override;

 private:
   std::mt19937_64 random_;
   uint64_t oneIn_;
};

} // namespace Kolm
