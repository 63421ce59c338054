#pragma once

#include "pelk/Export.h"
#include "zin/Hash.h"
#include "zin/HashGroup.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

// The storage of a HashMap2018, without the types of its members. Event thread only.
namespace Zin::Impl {

// How large a table is: a power of two of home groups, and behind them groups in which
// full ones go on.
struct PELK_EXPORT HashShape {
   uint32_t homesLog2;
   uint32_t groupSlots; // fewer than kGroupSlots in a table of one small group
   uint32_t spareGroups;
   uint32_t maxSize;

   // The shapes of a growing table, in order, with spare groups for the chains that are
   // known to be needed. Each raises std::length_error at the end.
   static HashShape smallest() noexcept;
   HashShape larger(uint32_t chained) const;
   // As large, with more spare groups.
   HashShape wider(uint32_t chained) const;
   // The next one that is known to be wanted for that many members, and need not wait
   // for more of them. Requires that this one has no room for them.
   HashShape fitting(size_t members, uint32_t chained) const;

   uint32_t homes() const noexcept { return uint32_t{1} << homesLog2; }
   uint32_t groups() const noexcept { return homes() + spareGroups; }
   size_t slots() const noexcept {
      return size_t{groups() - 1} * kGroupSlots + groupSlots;
   }
};

// One allocation: this header, the tags of all groups, the groups, a bitmap of the
// homes whose chain holds a member, and the members, in the groups' slots.
//
// The top bits of a hash choose its home, so that the homes stand in the order of their
// members' hashes; within a group, and from group to group of a chain, the order is
// kept as well. A member moves only when its group is full, and when the table grows.
class PELK_EXPORT HashBlock {
 public:
   static constexpr size_t kNoSlot = std::numeric_limits<size_t>::max();

   // Where a hash belongs.
   struct Address {
      size_t home;
      SlotTag tag;
   };

   // A table of no slots at all, which the empty maps share.
   static HashBlock* none() noexcept;
   // A table of one member in one slot, which the maps share that keep that member
   // themselves. Nobody writes to it.
   static HashBlock* one() noexcept;

   // Memory for entries of the given size, with all slots free; std::bad_alloc.
   static HashBlock* allocate(HashSeed const& seed, HashShape const& shape,
                              size_t entrySize);
   static void deallocate(HashBlock* block) noexcept {
      if (block != none() && block != one()) {
         ::operator delete(block);
      }
   }
   HashBlock(HashBlock const&) = delete;
   HashBlock& operator=(HashBlock const&) = delete;

   HashSeed const& seed() const noexcept { return seed_; }
   HashShape const& shape() const noexcept { return shape_; }
   // Of a hash in the upper half.
   Address addressOf(uint64_t hash) const noexcept {
      return {firstSlotOf(hash) / kGroupSlots, tagOf(hash, tagShift_)};
   }
   // The first slot of a hash's home: a search begins there, by the shortest way.
   size_t firstSlotOf(uint64_t hash) const noexcept {
      return hash >> slotShift_ & ~size_t{kGroupSlots - 1};
   }
   // One bit for each member with the hash's tag, in the group that begins there.
   uint32_t equalToTagOf(uint64_t hash, size_t firstSlot) const noexcept {
      return Tags::equalToTagOf(hash, tagShift_, &tagAt(firstSlot));
   }

   HashTags& tags(size_t number) noexcept {
      return reinterpret_cast<HashTags*>(this + 1)[number];
   }
   HashTags const& tags(size_t number) const noexcept {
      return const_cast<HashBlock*>(this)->tags(number);
   }
   HashGroup* groups() noexcept { return groups_; }
   HashGroup const* groups() const noexcept { return groups_; }
   HashGroup& group(size_t number) noexcept { return groups()[number]; }
   HashGroup const& group(size_t number) const noexcept { return groups()[number]; }
   void* entries() noexcept { return entries_; }

   // The slot of the group's member of the given rank.
   size_t slotAt(size_t group, uint32_t rank) const noexcept {
      return group * kGroupSlots + groups()[group].order.slotAt(rank);
   }
   // The lowest member's slot, or kNoSlot; and that of the next one.
   size_t firstSlot() const noexcept {
      size_t const home = firstHome();
      return home == kNoSlot ? kNoSlot : slotAt(home, 0);
   }
   size_t nextSlot(size_t slot) const noexcept {
      size_t const group = slot / kGroupSlots;
      uint32_t const rank = groups()[group].order.rankOf(slot % kGroupSlots) + 1;
      return rank < groups()[group].count ? slotAt(group, rank) : slotBehind(group);
   }
   // The lowest member's slot behind a group.
   size_t slotBehind(size_t group) const noexcept {
      size_t const next = groupBehind(group);
      return next == kNoSlot ? kNoSlot : slotAt(next, 0);
   }
   // The group with the next members, or kNoSlot.
   size_t groupBehind(size_t group) const noexcept {
      HashGroup const& last = groups()[group];
      return last.goesOn() ? last.nextGroup() : nextHome(last.next + 1);
   }
   // The first home at or after the given one whose chain holds a member, or kNoSlot.
   size_t nextHome(size_t home) const noexcept;
   size_t firstHome() const noexcept { return nextHome(size_t{firstWord_} * 64); }

   // Gives a free slot of the group to a member of the given rank in it.
   void take(size_t number, uint32_t slot, uint32_t rank, SlotTag tag) noexcept {
      HashGroup& group = groups()[number];
      if (group.count == 0) [[unlikely]] {
         setHeld(homeOf(number));
      }
      group.take(slot, rank);
      tags(number).slots[slot] = tag;
   }
   // True if the slot's group is empty now: then unlink() must follow.
   bool release(size_t slot) noexcept {
      HashGroup& group = groups()[slot / kGroupSlots];
      group.release(slot % kGroupSlots);
      tags(slot / kGroupSlots).slots[slot % kGroupSlots] = kFreeTag;
      return group.count == 0;
   }
   // Takes an empty group out of its chain. The result is kNoSlot, or the group whose
   // members have to move to the empty one, each to the slot of the same number in it;
   // that is known of them already.
   size_t unlink(size_t number) noexcept;

   // Fills an empty table with members in ascending order: returns the slot of the next
   // one. `tail` is the group of the one before, 0 at first.
   size_t append(size_t& tail, uint64_t hash) noexcept {
      Address const address = addressOf(hash);
      if (groups()[tail].next != address.home) {
         tail = address.home;
      } else if (groups()[tail].count == kGroupSlots) {
         tail = chain(tail);
      }
      uint32_t const slot = groups()[tail].count;
      take(tail, slot, slot, address.tag);
      return tail * kGroupSlots + slot;
   }

   // Whether the group goes on in one that is not full.
   bool nextHasRoom(size_t number) const noexcept {
      HashGroup const& group = groups()[number];
      return group.goesOn() && groups()[group.nextGroup()].count < kGroupSlots;
   }
   bool hasSpareGroup() const noexcept { return firstSpare_ != 0; }
   // Lets the group go on in a spare one, which there must be.
   size_t chain(size_t number) noexcept;
   // How many groups beyond the homes a table with as many homes, or more, would need.
   uint32_t chainedAtMost() const noexcept;

 private:
   struct Shared;

   HashBlock(HashSeed const& seed, HashShape const& shape) noexcept;
   // A shared table of that many members and slots.
   constexpr HashBlock(HashGroup* groups, uint32_t members) noexcept
      : seed_(0), shape_{0, members, 0, members}, groups_(groups) {}

   SlotTag const& tagAt(size_t slot) const noexcept {
      return reinterpret_cast<SlotTag const*>(this + 1)[slot];
   }
   uint64_t* words() noexcept {
      return reinterpret_cast<uint64_t*>(groups() + shape_.groups());
   }
   uint64_t const* words() const noexcept {
      return reinterpret_cast<uint64_t const*>(groups() + shape_.groups());
   }
   uint32_t wordCount() const noexcept { return (shape_.homes() + 63) / 64; }
   void setHeld(size_t home) noexcept {
      words()[home / 64] |= uint64_t{1} << (home % 64);
      firstWord_ = std::min(firstWord_, static_cast<uint32_t>(home / 64));
   }
   void clearHeld(size_t home) noexcept;
   size_t homeOf(size_t number) const noexcept {
      while (groups()[number].goesOn()) {
         number = groups()[number].nextGroup();
      }
      return groups()[number].next;
   }
   void giveBack(size_t number) noexcept;

   alignas(16) HashSeed seed_;
   HashShape shape_;
   uint32_t slotShift_ = 64 - kGroupSlotsLog2; // a slot's number in its group is left
   uint32_t tagShift_ = 64 - kTagBits;
   uint32_t firstSpare_ = 0; // they are linked by their `next`
   uint32_t firstWord_ = 0;  // of the bitmap: none before it has a bit set
   HashGroup* groups_ = nullptr;
   void* entries_ = nullptr;

   static Shared none_;
   static Shared one_;
};

// A table of no slot or of one, with the group that a search reads and its bitmap. Its
// tags say that every slot is free: whether a key is present is not found here.
struct HashBlock::Shared {
   constexpr explicit Shared(uint16_t members) noexcept
      : block(&group, members), word(members) {
      group.used = group.count = members;
   }

   HashBlock block;
   HashTags tags;
   HashGroup group;
   uint64_t word;
};

inline HashBlock* HashBlock::none() noexcept {
   return &none_.block;
}
inline HashBlock* HashBlock::one() noexcept {
   return &one_.block;
}

} // namespace Zin::Impl
