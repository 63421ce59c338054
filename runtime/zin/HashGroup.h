#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

// Sixteen slots of a HashMap2018, which are searched at once and kept in order without
// moving a member.
namespace Zin::Impl {

inline constexpr uint32_t kGroupSlotsLog2 = 4;
inline constexpr uint32_t kGroupSlots = 1u << kGroupSlotsLog2;

// The 15 bits of a hash below those that choose the group, and a zero. Two members of a
// group rarely have the same; then the whole hash decides, and then the key.
using SlotTag = uint16_t;
inline constexpr uint32_t kTagBits = 16;
inline constexpr SlotTag kTagMask = 0xfffe;
// In slots that hold no member: above all tags.
inline constexpr SlotTag kFreeTag = 0xffff;
// The shift brings the tag to the lower end of the hash.
constexpr SlotTag tagOf(uint64_t hash, uint32_t shift) noexcept {
   return static_cast<SlotTag>(hash >> shift & kTagMask);
}

// The slots of a group by rank, in four bits each, the lowest first. What stands behind
// the last member's rank means nothing.
class SlotOrder {
 public:
   constexpr SlotOrder() noexcept = default;

   constexpr uint32_t slotAt(uint32_t rank) const noexcept {
      return static_cast<uint32_t>(word_ >> (4 * rank)) % kGroupSlots;
   }
   // Requires that the slot stands in the order.
   constexpr uint32_t rankOf(uint32_t slot) const noexcept {
      return static_cast<uint32_t>(std::countr_zero(topBitOf(slot))) / 4;
   }
   constexpr void open(uint32_t rank, uint32_t slot) noexcept {
      uint64_t const before = (uint64_t{1} << (4 * rank)) - 1;
      word_ =
         (word_ & before) | (uint64_t{slot} << (4 * rank)) | ((word_ & ~before) << 4);
   }
   // Requires that the slot stands in the order.
   constexpr void close(uint32_t slot) noexcept {
      uint64_t const before = topBitOf(slot) / 8 - 1;
      word_ = (word_ & before) | ((word_ >> 4) & ~before);
   }

   // For a walk: the slots from the current one on.
   constexpr uint32_t first() const noexcept {
      return static_cast<uint32_t>(word_) % kGroupSlots;
   }
   constexpr void removeFirst() noexcept { word_ >>= 4; }

 private:
   static constexpr uint64_t kOnes = 0x1111111111111111;

   // The highest of the four bits that hold the slot.
   constexpr uint64_t topBitOf(uint32_t slot) const noexcept {
      uint64_t const others = word_ ^ (kOnes * slot);
      // The lowest zero of four bits: a borrow reaches only those above it.
      uint64_t const zeros = (others - kOnes) & ~others & (kOnes * 8);
      return zeros & (~zeros + 1);
   }

   uint64_t word_ = 0;
};

struct PortableTags {
   // One bit for each slot of the tag.
   static uint32_t equal(SlotTag const* tags, SlotTag tag) noexcept {
      uint32_t bits = 0;
      for (uint32_t slot = 0; slot < kGroupSlots; ++slot) {
         bits |= uint32_t{tags[slot] == tag} << slot;
      }
      return bits;
   }
   // How many tags are below.
   static uint32_t below(SlotTag const* tags, SlotTag tag) noexcept {
      uint32_t count = 0;
      for (uint32_t slot = 0; slot < kGroupSlots; ++slot) {
         count += uint32_t{tags[slot] < tag};
      }
      return count;
   }
   static uint32_t equalToTagOf(uint64_t hash, uint32_t shift,
                                SlotTag const* tags) noexcept {
      return equal(tags, tagOf(hash, shift));
   }
};

#if defined(__SSE2__) && defined(__x86_64__)
struct SseTags {
   static uint32_t equal(SlotTag const* tags, SlotTag tag) noexcept {
      return equal(tags, broadcast(tag));
   }
   // All that is done to the tag is done while the group's tags are on their way.
   static uint32_t equalToTagOf(uint64_t hash, uint32_t shift,
                                SlotTag const* tags) noexcept {
      __m128i const bits = _mm_srl_epi64(_mm_cvtsi64_si128(static_cast<int64_t>(hash)),
                                         _mm_cvtsi32_si128(static_cast<int>(shift)));
      __m128i const each = _mm_shuffle_epi32(_mm_shufflelo_epi16(bits, 0), 0);
      return equal(tags, _mm_and_si128(each, broadcast(kTagMask)));
   }
   static uint32_t below(SlotTag const* tags, SlotTag tag) noexcept {
      // SSE2 compares signed numbers only; but an unsigned difference stops at zero.
      __m128i const wanted = broadcast(tag);
      __m128i const above =
         _mm_packs_epi16(isZero(_mm_subs_epu16(wanted, load(tags))),
                         isZero(_mm_subs_epu16(wanted, load(tags + kGroupSlots / 2))));
      __m128i const ones = _mm_add_epi8(above, _mm_set1_epi8(1));
      __m128i const sums = _mm_sad_epu8(ones, _mm_setzero_si128());
      return static_cast<uint32_t>(_mm_cvtsi128_si32(sums) +
                                   _mm_extract_epi16(sums, 4));
   }

 private:
   static uint32_t equal(SlotTag const* tags, __m128i wanted) noexcept {
      return static_cast<uint32_t>(_mm_movemask_epi8(
         _mm_packs_epi16(_mm_cmpeq_epi16(load(tags), wanted),
                         _mm_cmpeq_epi16(load(tags + kGroupSlots / 2), wanted))));
   }
   static __m128i broadcast(SlotTag tag) noexcept {
      return _mm_set1_epi16(static_cast<int16_t>(tag));
   }
   static __m128i isZero(__m128i values) noexcept {
      return _mm_cmpeq_epi16(values, _mm_setzero_si128());
   }
   static __m128i load(SlotTag const* tags) noexcept {
      return _mm_load_si128(reinterpret_cast<__m128i const*>(tags));
   }
};
using Tags = SseTags;
#else
using Tags = PortableTags;
#endif

// The tags of sixteen slots: all that most searches read, and therefore by themselves.
struct alignas(16) HashTags {
   SlotTag slots[kGroupSlots];

   constexpr HashTags() noexcept {
      for (SlotTag& slot : slots) {
         slot = kFreeTag;
      }
   }
   // One bit for each member of the tag; and how many members are below it.
   uint32_t equal(SlotTag tag) const noexcept { return Tags::equal(slots, tag); }
   uint32_t below(SlotTag tag) const noexcept { return Tags::below(slots, tag); }
};

// What else a table knows of them. A member stands in any slot of its group; the order
// says which comes first. A group that is full goes on in another, whose members are
// all above: its chain. No group of a chain is empty but one that stands alone.
struct HashGroup {
   static constexpr uint32_t kGoesOn = 0x80000000;

   SlotOrder order;
   uint32_t next = 0;  // the group that goes on, marked; else the chain's first
   uint16_t used = 0;  // one bit for each slot that holds a member
   uint16_t count = 0; // of members

   bool goesOn() const noexcept { return (next & kGoesOn) != 0; }
   uint32_t nextGroup() const noexcept { return next & ~kGoesOn; }

   // Requires that there is one.
   uint32_t freeSlot() const noexcept {
      return static_cast<uint32_t>(std::countr_zero(~uint32_t{used}));
   }
   // Gives a free slot to a member of the given rank.
   void take(uint32_t slot, uint32_t rank) noexcept {
      order.open(rank, slot);
      used = static_cast<uint16_t>(used | 1u << slot);
      ++count;
   }
   void release(uint32_t slot) noexcept {
      order.close(slot);
      used = static_cast<uint16_t>(used & ~(1u << slot));
      --count;
   }
};
static_assert(sizeof(HashGroup) == 16);

} // namespace Zin::Impl
