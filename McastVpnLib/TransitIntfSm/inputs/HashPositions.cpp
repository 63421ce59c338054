#include "McastVpnLib/TransitIntfSm/inputs/HashPositions.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

size_t HashPositions::chunkFrom(uint64_t from) const {
   auto const at = std::ranges::partition_point(
      chunks_, [from](Chunk const& chunk) { return chunk.back() < from; });
   return static_cast<size_t>(std::distance(chunks_.begin(), at));
}

void HashPositions::insert(uint32_t position) {
   // Ascending positions fill their chunks.
   if (!chunks_.empty() && chunks_.back().back() <= position &&
       chunks_.back().size() != kChunk) {
      chunks_.back().push_back(position);
      return;
   }
   size_t number = chunkFrom(position);
   if (number == chunks_.size()) { // above all, and the last chunk is full
      chunks_.push_back({position});
      return;
   }
   if (chunks_[number].size() == kChunk) {
      auto const middle = chunks_[number].begin() + kChunk / 2;
      Chunk upper(middle, chunks_[number].end());
      chunks_[number].erase(middle, chunks_[number].end());
      bool const isAbove = chunks_[number].back() < position;
      chunks_.insert(chunks_.begin() + static_cast<std::ptrdiff_t>(number) + 1,
                     std::move(upper));
      number += isAbove ? 1 : 0;
   }
   Chunk& chunk = chunks_[number];
   chunk.insert(std::ranges::lower_bound(chunk, position), position);
}

void HashPositions::erase(uint32_t position) {
   auto const at = chunks_.begin() + static_cast<std::ptrdiff_t>(chunkFrom(position));
   at->erase(std::ranges::lower_bound(*at, position));
   if (at->empty()) {
      chunks_.erase(at);
   }
}

Zin::Optional<uint32_t> HashPositions::firstFrom(uint64_t from) const {
   size_t const number = chunkFrom(from);
   if (number == chunks_.size()) {
      return std::nullopt;
   }
   return *std::ranges::lower_bound(chunks_[number], from);
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
