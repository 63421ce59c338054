#pragma once

#include "kolm/Share.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Agent {

// The slices that began in a step, in that order: for each the polls (1 is the first)
// that were answered with yes.
using SliceEnds = std::vector<std::vector<uint64_t>>;

// Answers as another share does, and keeps what it answered, so that it can be played
// again exactly.
class RecordedShare final : public Kolm::Share {
 public:
   explicit RecordedShare(std::unique_ptr<Kolm::Share> inner);

   // What was answered since that was forgotten last.
   SliceEnds const& ends() const noexcept { return ends_; }
   void forgetEnds() noexcept;

   void sliceBegin(Kolm::Task const& task, Kolm::Slice& slice) override;
   bool shouldYield(Kolm::Task const& task, Kolm::Slice& slice) override;

 private:
   std::unique_ptr<Kolm::Share> inner_;
   SliceEnds ends_;
   std::vector<Kolm::Slice const*> slices_; // whose ends those are
};

// Answers as it was recorded. Slices beyond the recorded ones do not end early.
class PlayedShare final : public Kolm::Share {
 public:
   // Of the slices that begin from now on.
   void endsAre(SliceEnds ends);

   void sliceBegin(Kolm::Task const& task, Kolm::Slice& slice) override;
   bool shouldYield(Kolm::Task const& task, Kolm::Slice& slice) override;

 private:
   SliceEnds ends_;
   std::vector<Kolm::Slice const*> slices_;
};

} // namespace Agent
