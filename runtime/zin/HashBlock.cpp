#include "zin/HashBlock.h"

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
// What is read and written back behind the last member, at most: a ByteMove's span and
// one member.
constexpr size_t kSpareBytes = size_t{2} * 96;

constexpr uint32_t maxSizeOf(uint32_t homes) {
   return homes - homes / 8;
}

// Windows are read, and written back, behind the last slot too.
constexpr uint32_t paddedSlots(HashShape const& shape) {
   return (shape.slots + kWindowSlots + 1) & ~1u;
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
   size_t const bytes = entriesOffset + shape.slots * entrySize +
                        (shape.homesLog2 == 0 ? 0 : kSpareBytes);
   auto* const block = new (::operator new(bytes)) HashBlock(seed, shape);
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

uint32_t HashBlock::nextFreeFar(uint32_t word) const noexcept {
   while (word < wordCount() && ~words()[word] == 0) {
      ++word;
   }
   return word == wordCount()
             ? slots()
             : word * 64 + static_cast<uint32_t>(std::countr_one(words()[word]));
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

uint32_t HashBlock::lowerSlot(SlotHash hash, uint32_t from,
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

uint32_t HashBlock::closingSlotFar(uint32_t slot) const noexcept {
   SlotHash const* const slotHashes = hashes();
   // The remnant of the greatest hash would look empty; but it is the last one anyhow.
   bool const isGreatest = (slotHashes[slot] | kRemnantBit) == kEmptySlot;
   uint32_t const limit =
      isGreatest ? slots() : std::min(slots(), slot + 1 + kLongestCheapMove);
   uint32_t next = slot + 1;
   while (next < limit && slotHashes[next] != kEmptySlot &&
          homeOf(slotHashes[next]) != next) {
      if ((slotHashes[next] & kRemnantBit) != 0) {
         return kNoSlot;
      }
      ++next;
   }
   return next < limit || next == slots() ? next - 1 : kNoSlot;
}

uint32_t HashBlock::remnantSlot(uint32_t slot) const noexcept {
   SlotHash const hash = hashes()[slot];
   while (hashes()[slot + 1] == hash) {
      ++slot;
   }
   return slot;
}

void HashBlock::findFirstWord() noexcept {
   while (firstWord_ < wordCount() && words()[firstWord_] == 0) {
      ++firstWord_;
   }
}

// What is left of a run whose end is gone keeps no order any more: the remnants before
// an emptied slot.
void HashBlock::dropRemnants(uint32_t slot) noexcept {
   SlotHash* const slotHashes = hashes();
   while (slot != 0 && slotHashes[slot - 1] != kEmptySlot &&
          (slotHashes[slot - 1] & kRemnantBit) != 0) {
      slotHashes[--slot] = kEmptySlot;
      --remnants_;
   }
}

bool HashBlock::movedTooMuchFar(uint32_t moved, uint32_t size) noexcept {
   moved_ += moved;
   return moved_ > slots() / 2 && size >= shape_.homes() / 4;
}

uint32_t HashBlock::overflowWhenLarger() const noexcept {
   if (isSmall()) {
      return 0;
   }
   if (uint32_t const spare = slots() - shape_.homes(); spare <= kMostSpareSlots) {
      return spare; // it is not more, and not worth a closer look
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
