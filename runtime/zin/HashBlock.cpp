#include "zin/HashBlock.h"

#include <cstring>
#include <new>
#include <stdexcept>

namespace Zin::Impl {

namespace {

// Up to this many slots a table has one home: a window sees all of it.
constexpr uint32_t kSmallestSlots = 4;
constexpr uint32_t kOneHomeSlots = kWindowSlots;
constexpr uint32_t kFirstHomesLog2 = 4;
constexpr uint32_t kMaxHomesLog2 = 28;
constexpr uint32_t kMostSpareSlots = 24;

// Longer moves leave a remnant behind, or speak for a larger table.
constexpr uint32_t kLongestCheapMove = 64;

constexpr uint32_t maxSizeOf(uint32_t homes) {
   return homes - homes / 8;
}

// What a search may read behind the last slot it looks at.
constexpr uint32_t paddedSlots(HashShape const& shape) {
   uint32_t const needed = shape.homesLog2 == 0
                              ? std::max(kWindowSlots, shape.slots + 1)
                              : shape.slots + kWindowSlots;
   return (needed + 1) & ~1u;
}

} // namespace

HashShape HashShape::smallest() noexcept {
   return {0, kSmallestSlots, kSmallestSlots};
}

HashShape HashShape::larger(uint32_t overflow) const {
   if (slots == 0) {
      return smallest();
   }
   if (slots < kOneHomeSlots) {
      return {0, kOneHomeSlots, kOneHomeSlots};
   }
   if (homesLog2 == kMaxHomesLog2) {
      throw std::length_error("HashMap2018: too many members");
   }
   uint32_t const log2 = homesLog2 == 0 ? kFirstHomesLog2 : homesLog2 + 1;
   uint32_t const count = uint32_t{1} << log2;
   uint32_t const spare =
      std::max(std::min(count / 2, kMostSpareSlots), overflow + kWindowSlots);
   return {log2, count + spare, maxSizeOf(count)};
}

HashShape HashShape::wider() const {
   return {homesLog2, slots + (slots - homes()), maxSize};
}

constinit HashBlock::None HashBlock::none_{{},
                                           {kEmptySlot, kEmptySlot, kEmptySlot,
                                            kEmptySlot, kEmptySlot, kEmptySlot,
                                            kEmptySlot, kEmptySlot}};

HashBlock::HashBlock(HashSeed const& seed, HashShape const& shape) noexcept
   : seed_(seed), shape_(shape), shift_(32 - shape.homesLog2),
     firstWord_((shape.slots + 63) / 64) {}

HashBlock* HashBlock::allocate(HashSeed const& seed, HashShape const& shape,
                               size_t entrySize) {
   size_t const wordsOffset =
      sizeof(HashBlock) + size_t{paddedSlots(shape)} * sizeof(SlotHash);
   size_t const wordCount = (shape.slots + 63) / 64;
   size_t const entriesOffset = (wordsOffset + wordCount * 8 + 15) & ~size_t{15};
   if (entriesOffset > std::numeric_limits<uint32_t>::max()) {
      throw std::bad_alloc();
   }
   auto* const block = new (::operator new(entriesOffset + shape.slots * entrySize))
      HashBlock(seed, shape);
   block->wordsOffset_ = static_cast<uint32_t>(wordsOffset);
   block->entriesOffset_ = static_cast<uint32_t>(entriesOffset);
   std::fill_n(block->hashes(), paddedSlots(shape), kEmptySlot);
   std::fill_n(block->words(), wordCount, 0);
   return block;
}

uint32_t HashBlock::nextHeld(uint32_t slot) const noexcept {
   uint32_t word = slot / 64;
   if (slot >= slots()) {
      return kNoSlot;
   }
   uint64_t bits = words()[word] & (~uint64_t{0} << (slot % 64));
   while (bits == 0) {
      if (++word == wordCount()) {
         return kNoSlot;
      }
      bits = words()[word];
   }
   return word * 64 + static_cast<uint32_t>(std::countr_zero(bits));
}

uint32_t HashBlock::nextFree(uint32_t slot) const noexcept {
   uint32_t word = slot / 64;
   if (slot >= slots()) {
      return slots();
   }
   uint64_t bits = ~words()[word] & (~uint64_t{0} << (slot % 64));
   while (bits == 0) {
      if (++word == wordCount()) {
         return slots();
      }
      bits = ~words()[word];
   }
   return std::min(slots(), word * 64 + static_cast<uint32_t>(std::countr_zero(bits)));
}

uint32_t HashBlock::rankOf(uint32_t slot) const noexcept {
   uint32_t rank = 0;
   for (uint32_t word = 0; word < slot / 64; ++word) {
      rank += static_cast<uint32_t>(std::popcount(words()[word]));
   }
   uint64_t const before = (uint64_t{1} << (slot % 64)) - 1;
   return rank + static_cast<uint32_t>(std::popcount(words()[slot / 64] & before));
}

uint32_t HashBlock::slotAt(uint32_t rank) const noexcept {
   uint32_t word = 0;
   for (;; ++word) {
      auto const count = static_cast<uint32_t>(std::popcount(words()[word]));
      if (rank < count) {
         break;
      }
      rank -= count;
   }
   uint64_t bits = words()[word];
   for (; rank != 0; --rank) {
      bits &= bits - 1;
   }
   return word * 64 + static_cast<uint32_t>(std::countr_zero(bits));
}

uint32_t HashBlock::lowerSlotFar(SlotHash hash, uint32_t from,
                                 uint32_t& probes) const noexcept {
   // From the home on, the slots below the hash stand before all others: double the
   // step until one is found that is not below, then halve the range.
   SlotHash const* const slotHashes = hashes();
   uint32_t low = std::min(from, slots());
   if (newest_ >= low && newest_ < slots() && slotHashes[newest_] < hash) {
      low = newest_ + 1; // members come in ascending order
   }
   uint32_t high = low;
   for (uint32_t step = kWindowSlots; high < slots() && slotHashes[high] < hash;
        step *= 2) {
      ++probes;
      low = high + 1;
      high = std::min(slots(), high + step);
   }
   while (low < high) {
      ++probes;
      uint32_t const middle = low + (high - low) / 2;
      if (slotHashes[middle] < hash) {
         low = middle + 1;
      } else {
         high = middle;
      }
   }
   return low;
}

void HashBlock::openSlot(uint32_t from, uint32_t free, SlotHash hash) noexcept {
   hold(free, hash);
   SlotHash* const slotHashes = hashes();
   for (uint32_t slot = free; slot > from; --slot) {
      slotHashes[slot] = slotHashes[slot - 1];
   }
   slotHashes[from] = hash;
   newest_ = from;
}

uint32_t HashBlock::closingSlot(uint32_t slot) const noexcept {
   SlotHash const* const slotHashes = hashes();
   uint32_t const limit = std::min(slots(), slot + 1 + kLongestCheapMove);
   uint32_t next = slot + 1;
   while (next < limit && slotHashes[next] != kEmptySlot &&
          homeOf(slotHashes[next]) != next) {
      if (isRemnant(next)) {
         return kNoSlot;
      }
      ++next;
   }
   return next < limit || next == slots() ? next - 1 : kNoSlot;
}

void HashBlock::clearBit(uint32_t slot) noexcept {
   uint64_t* const bitmap = words();
   bitmap[slot / 64] &= ~(uint64_t{1} << (slot % 64));
   while (firstWord_ < wordCount() && bitmap[firstWord_] == 0) {
      ++firstWord_;
   }
}

void HashBlock::makeRemnant(uint32_t slot) noexcept {
   clearBit(slot);
   ++remnants_;
}

void HashBlock::closeSlot(uint32_t slot, uint32_t last) noexcept {
   SlotHash* const slotHashes = hashes();
   for (uint32_t to = slot; to < last; ++to) {
      slotHashes[to] = slotHashes[to + 1];
   }
   slotHashes[last] = kEmptySlot;
   clearBit(last);
   // What is left of a run whose end is gone keeps no order any more.
   while (remnants_ != 0 && last != 0 && slotHashes[last - 1] != kEmptySlot &&
          !holds(last - 1)) {
      slotHashes[--last] = kEmptySlot;
      --remnants_;
   }
}

bool HashBlock::movedTooMuch(uint32_t moved, uint32_t size) noexcept {
   if (moved <= kLongestCheapMove) {
      return false;
   }
   moved_ += moved;
   return moved_ > slots() / 2 && size >= shape_.homes() / 4;
}

uint32_t HashBlock::overflowWhenLarger() const noexcept {
   if (shape_.homesLog2 == 0 || slots() - shape_.homes() <= kMostSpareSlots) {
      return 0;
   }
   uint64_t const homes = uint64_t{shape_.homes()} * 2;
   uint64_t end = 0;
   for (uint32_t slot = nextHeld(0); slot != kNoSlot; slot = nextHeld(slot + 1)) {
      uint64_t const home = uint64_t{fromSlotHash(hashes()[slot])} >> (shift_ - 1);
      end = std::max(end, home) + 1;
   }
   return static_cast<uint32_t>(std::max(end, homes) - homes);
}

} // namespace Zin::Impl
