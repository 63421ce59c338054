#include "agent/record/StepShare.h"

#include <algorithm>
#include <utility>

namespace Agent {

namespace {

// The number of the slice whose record this is: the last one, since a task has one
// record for all of its slices. SIZE_MAX for one that began before.
size_t numberOf(std::vector<Kolm::Slice const*> const& slices,
                Kolm::Slice const& slice) {
   for (size_t i = slices.size(); i-- > 0;) {
      if (slices[i] == &slice) {
         return i;
      }
   }
   return SIZE_MAX;
}

} // namespace

RecordedShare::RecordedShare(std::unique_ptr<Kolm::Share> inner)
   : inner_(std::move(inner)) {}

void RecordedShare::forgetEnds() noexcept {
   slices_.clear();
   ends_.clear();
}

void RecordedShare::sliceBegin(Kolm::Task const& task, Kolm::Slice& slice) {
   ends_.emplace_back();
   slices_.push_back(&slice);
   inner_->sliceBegin(task, slice);
}

bool RecordedShare::shouldYield(Kolm::Task const& task, Kolm::Slice& slice) {
   bool const isEnd = inner_->shouldYield(task, slice);
   if (isEnd) {
      if (auto const number = numberOf(slices_, slice); number < ends_.size()) {
         ends_[number].push_back(slice.polls + 1);
      }
   }
   return isEnd;
}

void PlayedShare::endsAre(SliceEnds ends) {
   ends_ = std::move(ends);
   slices_.clear();
}

void PlayedShare::sliceBegin(Kolm::Task const&, Kolm::Slice& slice) {
   slices_.push_back(&slice);
}

bool PlayedShare::shouldYield(Kolm::Task const&, Kolm::Slice& slice) {
   auto const number = numberOf(slices_, slice);
   return number < ends_.size() &&
          std::ranges::find(ends_[number], slice.polls + 1) != ends_[number].end();
}

} // namespace Agent
