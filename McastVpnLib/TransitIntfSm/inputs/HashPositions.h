#pragma once

#include "zin/Optional.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// Hashes in ascending order, each as often as it was inserted: the places of some of a
// map's members. Four bytes each, in chunks, so that neither coming nor going moves
// more than a chunk. Event thread only.
class HashPositions {
 public:
   bool empty() const noexcept { return chunks_.empty(); }
   void insert(uint32_t position);
   // Requires that it is there.
   void erase(uint32_t position);
   // The first one that is not below. Takes what is one above the last.
   Zin::Optional<uint32_t> firstFrom(uint64_t from) const;

 private:
   // A page of memory, half of which an insertion moves on average.
   static constexpr size_t kChunk = 1024;

   using Chunk = std::vector<uint32_t>;

   // The first chunk that does not end below.
   size_t chunkFrom(uint64_t from) const;

   std::vector<Chunk> chunks_; // none is empty
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
