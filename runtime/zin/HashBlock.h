#pragma once

#include "pelk/Export.h"
#include "zin/Hash.h"
#include "zin/HashWindow.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

// The storage of a HashMap2018, without the types of its members. Event thread only.
namespace Zin::Impl {

// How large a table is: its homes are a power of two, and behind them stand slots for
// the runs that reach beyond the last home.
struct PELK_EXPORT HashShape {
   uint32_t homesLog2;
   uint32_t slots;
   uint32_t maxSize;

   // The shapes of a growing table, in order. Raises std::length_error at the end.
   static HashShape smallest() noexcept;
   HashShape larger(uint32_t overflow) const;
   // As large, with more slots behind the homes.
   HashShape wider() const;
   uint32_t homes() const noexcept { return uint32_t{1} << homesLog2; }
};

// One allocation: this header, then a hash for each slot, a bitmap of the slots that
// hold a member, and the members.
//
// The top bits of a hash choose its home, and a member stands in its home or behind it,
// so that the hashes of all slots in use ascend over the whole table, and no slot
// between a member and its home is empty. A slot whose bit is clear but whose hash is
// not kEmptySlot is a remnant: of a member removed from the midst of a long run, where
// closing the gap would cost too much. It keeps the order and holds no member.
class PELK_EXPORT HashBlock {
 public:
   static constexpr uint32_t kNoSlot = std::numeric_limits<uint32_t>::max();

   // A table of no slots at all, which the empty maps share.
   static HashBlock* none() noexcept;

   // Memory for entries of the given size, with all slots empty; std::bad_alloc.
   static HashBlock* allocate(HashSeed const& seed, HashShape const& shape,
                              size_t entrySize);
   static void deallocate(HashBlock* block) noexcept {
      if (block->slots() != 0) {
         ::operator delete(block);
      }
   }
   HashBlock(HashBlock const&) = delete;
   HashBlock& operator=(HashBlock const&) = delete;

   HashSeed const& seed() const noexcept { return seed_; }
   HashShape const& shape() const noexcept { return shape_; }
   uint32_t slots() const noexcept { return shape_.slots; }
   uint32_t homeOf(SlotHash hash) const noexcept {
      return static_cast<uint32_t>(uint64_t{fromSlotHash(hash)} >> shift_);
   }

   SlotHash* hashes() noexcept { return reinterpret_cast<SlotHash*>(this + 1); }
   SlotHash const* hashes() const noexcept {
      return reinterpret_cast<SlotHash const*>(this + 1);
   }
   void* entries() noexcept {
      return reinterpret_cast<std::byte*>(this) + entriesOffset_;
   }

   // The bitmap.
   uint64_t* words() noexcept {
      return reinterpret_cast<uint64_t*>(reinterpret_cast<std::byte*>(this) +
                                         wordsOffset_);
   }
   uint64_t const* words() const noexcept {
      return const_cast<HashBlock*>(this)->words();
   }
   uint32_t wordCount() const noexcept { return (slots() + 63) / 64; }
   bool holds(uint32_t slot) const noexcept {
      return (words()[slot / 64] >> (slot % 64) & 1) != 0;
   }
   // A word before which no bit is set.
   uint32_t firstWord() const noexcept { return firstWord_; }

   // The first slot at or after the given one that holds a member, or kNoSlot.
   uint32_t nextHeld(uint32_t slot) const noexcept;
   // The first slot at or after the given one that holds no member, or one not below
   // slots().
   uint32_t nextFree(uint32_t slot) const noexcept {
      if (uint64_t const bits = ~words()[slot / 64] >> (slot % 64); bits != 0) {
         return slot + static_cast<uint32_t>(std::countr_zero(bits));
      }
      return nextFreeFar(slot / 64 + 1);
   }
   uint32_t nextFreeFar(uint32_t word) const noexcept;
   // How many members stand before the slot; and the slot of the member before which
   // that many stand.
   uint32_t rankOf(uint32_t slot) const noexcept;
   uint32_t slotAt(uint32_t rank) const noexcept;

   // The first slot from the hash's home on whose hash is not below it, if it is in the
   // home's window; else the slot behind the window, whose hash may be below.
   uint32_t lowerSlotNear(SlotHash hash) const noexcept {
      uint32_t const home = homeOf(hash);
      return home + HashWindow::below(hashes() + home, hash).leading();
   }
   // The same, from a slot before which all from the home on are below: a search that
   // takes logarithmic time in a long run. `probes` is raised by the steps taken.
   uint32_t lowerSlot(SlotHash hash, uint32_t from, uint32_t& probes) const noexcept;

   // Has one home only, and no room to read and write behind its members.
   bool isSmall() const noexcept { return shift_ == 32; }

   // Fills an empty table, in ascending order.
   void append(uint32_t slot, SlotHash hash) noexcept {
      hashes()[slot] = hash;
      words()[slot / 64] |= uint64_t{1} << (slot % 64);
      firstWord_ = std::min(firstWord_, slot / 64);
   }
   // Moves the hashes of [from, free) up by one slot, for a member of the given hash at
   // `from`.
   void openSlot(uint32_t from, uint32_t free, SlotHash hash) noexcept {
      SlotHash* const start = hashes() + from;
      remnants_ -= hashes()[free] == kEmptySlot ? 0 : 1;
      words()[free / 64] |= uint64_t{1} << (free % 64);
      firstWord_ = std::min(firstWord_, free / 64);
      if (free != from) {
         if (free - from <= kWindowSlots) [[likely]] {
            HashWindow::moveUp(start, free - from);
         } else {
            std::copy_backward(start, start + (free - from), start + (free - from) + 1);
         }
      }
      *start = hash;
      newest_ = from;
   }

   // Which slot is left over when the member at `slot` goes: the members of
   // (slot, result] move down by one. kNoSlot if a remnant shall stay.
   uint32_t closingSlot(uint32_t slot) const noexcept {
      SlotMask const settled =
         HashWindow::settled(hashes() + slot + 1, slot + 1, shift_);
      return settled && remnants_ == 0 ? slot + settled.first() : closingSlotFar(slot);
   }
   uint32_t closingSlotFar(uint32_t slot) const noexcept;
   // Where a remnant of the member at `slot` may stay: behind all of its hash.
   uint32_t remnantSlot(uint32_t slot) const noexcept;
   void makeRemnant(uint32_t slot) noexcept {
      hashes()[slot] |= kRemnantBit;
      ++remnants_;
      clearBit(slot);
   }
   // Moves the hashes of (slot, last] down by one and empties `last`.
   void closeSlot(uint32_t slot, uint32_t last) noexcept {
      SlotHash* const start = hashes() + slot;
      if (last != slot) {
         if (last - slot <= kWindowSlots) [[likely]] {
            HashWindow::moveDown(start, last - slot);
         } else {
            std::copy(start + 1, start + 1 + (last - slot), start);
         }
      }
      start[last - slot] = kEmptySlot;
      clearBit(last);
      if (remnants_ != 0) [[unlikely]] {
         dropRemnants(last);
      }
   }

   // Accounts for a member's insertion that moved others. True if so much was moved
   // that a larger table, in which runs are shorter, pays.
   bool movedTooMuch(uint32_t moved, uint32_t size) noexcept {
      return moved > kLongestCheapMove && movedTooMuchFar(moved, size);
   }
   bool movedTooMuchFar(uint32_t moved, uint32_t size) noexcept;

   // By how many slots the last run would reach beyond the homes of a table with
   // twice as many.
   uint32_t overflowWhenLarger() const noexcept;

 private:
   struct None;

   HashBlock(HashSeed const& seed, HashShape const& shape) noexcept;
   // The table of no slots.
   constexpr HashBlock() noexcept : seed_(0), shape_{0, 0, 0} {}

   // Longer moves leave a remnant behind, or speak for a larger table.
   static constexpr uint32_t kLongestCheapMove = 64;

   void clearBit(uint32_t slot) noexcept {
      uint64_t& word = words()[slot / 64];
      word &= ~(uint64_t{1} << (slot % 64));
      if (word == 0 && slot / 64 == firstWord_) {
         findFirstWord();
      }
   }
   void findFirstWord() noexcept;
   void dropRemnants(uint32_t slot) noexcept;

   alignas(16) HashSeed seed_;
   HashShape shape_;
   uint32_t entriesOffset_ = 0;
   uint32_t wordsOffset_ = 0;
   uint32_t shift_ = 32;
   uint32_t remnants_ = 0;
   uint32_t firstWord_ = 0;
   uint32_t moved_ = 0;
   uint32_t newest_ = 0; // where the last member was inserted

   static None none_;
};

// The table of no slots, with the window that a search reads and one bitmap word.
struct HashBlock::None {
   HashBlock block;
   SlotHash hashes[kWindowSlots];
   uint64_t word = 0;
};

inline HashBlock* HashBlock::none() noexcept {
   return &none_.block;
}

} // namespace Zin::Impl
