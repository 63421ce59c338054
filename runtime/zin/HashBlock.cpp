#include "zin/HashBlock.h"

#include <bit>
#include <new>
#include <stdexcept>
#include <utility>

namespace Zin::Impl {

namespace {

constexpr uint32_t kSmallestSlots = 2;
constexpr uint32_t kMaxHomesLog2 = 24;
// With 12 members a group on average, one group in ten is full.
constexpr uint32_t kMostOnAverage = 12;
constexpr uint32_t kHomesPerSpareGroup = 8;
// With 14, one in four is.
constexpr uint32_t kMostWhereKnown = 14;

HashShape shapeOf(uint32_t homesLog2, uint32_t atLeastSpare) {
   if (homesLog2 > kMaxHomesLog2) {
      throw std::length_error("HashMap2018: too many members");
   }
   uint32_t const homes = uint32_t{1} << homesLog2;
   return {homesLog2, kGroupSlots,
           std::max(homes / kHomesPerSpareGroup + 1, atLeastSpare),
           homes * kMostOnAverage};
}

// Bits of the hash only: with very many homes, some of those that choose the home
// stand in the tag as well.
uint32_t tagShiftOf(uint32_t homesLog2) {
   constexpr uint32_t kMostHomesLog2 = 32 - (kTagBits - 1);
   return 64 - kTagBits - std::min(homesLog2, kMostHomesLog2);
}

} // namespace

HashShape HashShape::smallest() noexcept {
   return {0, kSmallestSlots, 0, kSmallestSlots};
}

HashShape HashShape::larger(uint32_t chained) const {
   if (groupSlots < kSmallestSlots) {
      return smallest();
   }
   if (groupSlots < kGroupSlots) {
      return {0, groupSlots * 2, 0, groupSlots * 2};
   }
   return shapeOf(homesLog2 + 1, chained + chained / 2 + 1);
}

HashShape HashShape::wider(uint32_t chained) const {
   return shapeOf(homesLog2, 2 * chained + 1);
}

// A table that is not to grow soon may be fuller. The share of full groups then grows
// with the members, by 3 in 40 and less for each that a home has on average; which
// homes they are is chance, so some more groups are kept for a large deviation.
HashShape HashShape::fitting(size_t members, uint32_t chained) const {
   HashShape shape = *this;
   while (shape.maxSize < members) {
      uint32_t const homes = shape.homes();
      if (shape.groupSlots == kGroupSlots &&
          members <= size_t{homes} * kMostWhereKnown) {
         auto const above = static_cast<uint32_t>(members) - homes * kMostOnAverage;
         uint32_t const deviation = 2u << shape.homesLog2 / 2;
         HashShape full =
            shapeOf(shape.homesLog2,
                    std::max(homes / kHomesPerSpareGroup + above * 3 / 40 + deviation,
                             chained + chained / 2));
         full.maxSize = homes * kMostWhereKnown;
         return full;
      }
      shape = shape.larger(chained);
   }
   return shape;
}

// They live for ever: maps of static storage duration use them while others are
// destroyed.
constinit HashBlock::Shared HashBlock::none_(0);
constinit HashBlock::Shared HashBlock::one_(1);

HashBlock::HashBlock(HashSeed const& seed, HashShape const& shape) noexcept
   : seed_(seed), shape_(shape), slotShift_(64 - kGroupSlotsLog2 - shape.homesLog2),
     tagShift_(tagShiftOf(shape.homesLog2)), firstWord_(wordCount()),
     groups_(reinterpret_cast<HashGroup*>(&tags(shape.groups()))) {
   for (size_t number = 0; number < shape.groups(); ++number) {
      ::new (&tags(number)) HashTags;
      ::new (groups() + number) HashGroup;
      groups()[number].next = static_cast<uint32_t>(number);
   }
   std::fill_n(words(), wordCount(), 0);
   for (size_t number = shape.groups(); number > shape.homes(); --number) {
      giveBack(number - 1);
   }
}

HashBlock* HashBlock::allocate(HashSeed const& seed, HashShape const& shape,
                               size_t entrySize) {
   size_t const wordCount = (shape.homes() + 63) / 64;
   size_t const groupsEnd =
      sizeof(HashBlock) +
      size_t{shape.groups()} * (sizeof(HashTags) + sizeof(HashGroup));
   size_t const entriesOffset = (groupsEnd + wordCount * 8 + 15) & ~size_t{15};
   void* const memory = ::operator new(entriesOffset + shape.slots() * entrySize);
   auto* const block = ::new (memory) HashBlock(seed, shape);
   block->entries_ = static_cast<std::byte*>(memory) + entriesOffset;
   return block;
}

size_t HashBlock::nextHome(size_t home) const noexcept {
   if (home >= shape_.homes()) {
      return kNoSlot;
   }
   size_t word = home / 64;
   uint64_t bits = words()[word] & (~uint64_t{0} << (home % 64));
   while (bits == 0) {
      if (++word == wordCount()) {
         return kNoSlot;
      }
      bits = words()[word];
   }
   return word * 64 + static_cast<uint32_t>(std::countr_zero(bits));
}

void HashBlock::clearHeld(size_t home) noexcept {
   words()[home / 64] &= ~(uint64_t{1} << (home % 64));
   while (firstWord_ < wordCount() && words()[firstWord_] == 0) {
      ++firstWord_;
   }
}

size_t HashBlock::unlink(size_t number) noexcept {
   HashGroup& empty = groups()[number];
   if (number >= shape_.homes()) {
      size_t before = homeOf(number);
      while (groups()[before].nextGroup() != number) {
         before = groups()[before].nextGroup();
      }
      groups()[before].next = empty.next;
      giveBack(number);
      return kNoSlot;
   }
   if (!empty.goesOn()) {
      clearHeld(number);
      return kNoSlot;
   }
   size_t const next = empty.nextGroup();
   empty = groups()[next];
   tags(number) = tags(next);
   giveBack(next);
   return next;
}

size_t HashBlock::chain(size_t number) noexcept {
   size_t const added = firstSpare_;
   firstSpare_ = groups()[added].next;
   groups()[added].next = std::exchange(
      groups()[number].next, static_cast<uint32_t>(added) | HashGroup::kGoesOn);
   return added;
}

void HashBlock::giveBack(size_t number) noexcept {
   groups()[number] = HashGroup();
   tags(number) = HashTags();
   groups()[number].next = std::exchange(firstSpare_, static_cast<uint32_t>(number));
}

// Chains of packed groups: splitting a home's members over two homes needs no more.
uint32_t HashBlock::chainedAtMost() const noexcept {
   uint32_t chained = 0;
   if (shape_.spareGroups == 0) {
      return chained;
   }
   for (size_t home = 0; home < shape_.homes(); ++home) {
      uint32_t count = groups()[home].count;
      for (size_t at = home; groups()[at].goesOn();) {
         at = groups()[at].nextGroup();
         count += groups()[at].count;
      }
      chained += count == 0 ? 0 : (count - 1) / kGroupSlots;
   }
   return chained;
}

} // namespace Zin::Impl
