#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Comparing one hash with eight neighbouring slots at once.
namespace Zin::Impl {

// The upper 31 bits of a hash, as they stand in a slot: in a signed number of the same
// order, because SSE2 compares signed numbers only. The lowest bit is set in slots that
// hold no member: in the greatest number of all, which marks a slot that is empty, and
// in what is left of a removed member.
using SlotHash = int32_t;
inline constexpr SlotHash kEmptySlot = INT32_MAX;
inline constexpr SlotHash kRemnantBit = 1;
inline constexpr uint32_t kWindowSlots = 8;

constexpr SlotHash toSlotHash(uint32_t hash) noexcept {
   return static_cast<SlotHash>((hash & ~uint32_t{kRemnantBit}) ^ 0x80000000u);
}
constexpr uint32_t fromSlotHash(SlotHash hash) noexcept {
   return static_cast<uint32_t>(hash) ^ 0x80000000u;
}

// A set of slots of a window: two bits a slot, the first slot lowest.
class SlotMask {
 public:
   constexpr explicit SlotMask(uint32_t bits) noexcept : bits_(bits) {}

   constexpr explicit operator bool() const noexcept { return bits_ != 0; }
   constexpr uint32_t first() const noexcept {
      return static_cast<uint32_t>(std::countr_zero(bits_)) / 2;
   }
   constexpr void removeFirst() noexcept { bits_ &= ~(3u << (2 * first())); }
   // How many slots are in the set before the first that is not.
   constexpr uint32_t leading() const noexcept {
      return static_cast<uint32_t>(std::countr_one(bits_)) / 2;
   }
   constexpr bool operator==(SlotMask const&) const noexcept = default;

 private:
   uint32_t bits_;
};

struct PortableWindow {
   static SlotMask equal(SlotHash const* slots, SlotHash hash) noexcept {
      uint32_t bits = 0;
      for (uint32_t i = 0; i < kWindowSlots; ++i) {
         bits |= (slots[i] == hash ? 3u : 0u) << (2 * i);
      }
      return SlotMask(bits);
   }
   static SlotMask below(SlotHash const* slots, SlotHash hash) noexcept {
      uint32_t bits = 0;
      for (uint32_t i = 0; i < kWindowSlots; ++i) {
         bits |= (slots[i] < hash ? 3u : 0u) << (2 * i);
      }
      return SlotMask(bits);
   }
   // The slots that are empty or hold a hash whose home they are. The window's first
   // slot has the number `first`; a hash shifted right by `shift` is its home.
   static SlotMask settled(SlotHash const* slots, uint32_t first,
                           uint32_t shift) noexcept {
      uint32_t bits = 0;
      for (uint32_t i = 0; i < kWindowSlots; ++i) {
         bool const is = slots[i] == kEmptySlot ||
                         uint64_t{fromSlotHash(slots[i])} >> shift == first + i;
         bits |= (is ? 3u : 0u) << (2 * i);
      }
      return SlotMask(bits);
   }
   // Moves slots[1] to slots[count], at most eight, down by one.
   static void moveDown(SlotHash* slots, uint32_t count) noexcept {
      for (uint32_t i = 0; i < count; ++i) {
         slots[i] = slots[i + 1];
      }
   }
   // Moves slots[0] to slots[count - 1], at most eight, up by one.
   static void moveUp(SlotHash* slots, uint32_t count) noexcept {
      for (uint32_t i = count; i > 0; --i) {
         slots[i] = slots[i - 1];
      }
   }
};

#if defined(__SSE2__)
struct SseWindow {
   static SlotMask equal(SlotHash const* slots, SlotHash hash) noexcept {
      __m128i const wanted = _mm_set1_epi32(hash);
      return mask(_mm_cmpeq_epi32(load(slots), wanted),
                  _mm_cmpeq_epi32(load(slots + 4), wanted));
   }
   static SlotMask below(SlotHash const* slots, SlotHash hash) noexcept {
      __m128i const wanted = _mm_set1_epi32(hash);
      return mask(_mm_cmplt_epi32(load(slots), wanted),
                  _mm_cmplt_epi32(load(slots + 4), wanted));
   }
   static SlotMask settled(SlotHash const* slots, uint32_t first,
                           uint32_t shift) noexcept {
      auto const start = static_cast<int32_t>(first);
      __m128i const lowSlots = _mm_setr_epi32(start, start + 1, start + 2, start + 3);
      __m128i const highSlots = _mm_add_epi32(lowSlots, _mm_set1_epi32(4));
      return mask(settled(load(slots), lowSlots, shift),
                  settled(load(slots + 4), highSlots, shift));
   }
   // The moves go through whole windows, to do without a branch for each length; what
   // does not move is written back as it was.
   static void moveDown(SlotHash* slots, uint32_t count) noexcept {
      blend(slots, slots + 1, slots, count);
   }
   static void moveUp(SlotHash* slots, uint32_t count) noexcept {
      blend(slots + 1, slots, slots + 1, count);
   }

 private:
   static __m128i settled(__m128i hashes, __m128i numbers, uint32_t shift) noexcept {
      __m128i const homes =
         _mm_srl_epi32(_mm_xor_si128(hashes, _mm_set1_epi32(INT32_MIN)),
                       _mm_cvtsi32_si128(static_cast<int>(shift)));
      return _mm_or_si128(_mm_cmpeq_epi32(homes, numbers),
                          _mm_cmpeq_epi32(hashes, _mm_set1_epi32(kEmptySlot)));
   }
   // A window whose first `count` slots are of `taken` and whose rest is of `kept`.
   static void blend(SlotHash* to, SlotHash const* taken, SlotHash const* kept,
                     uint32_t count) noexcept {
      static constexpr SlotHash kTake[2 * kWindowSlots] = {-1, -1, -1, -1,
                                                           -1, -1, -1, -1};
      SlotHash const* const take = kTake + kWindowSlots - count;
      __m128i const low = blend(load(take), load(taken), load(kept));
      __m128i const high = blend(load(take + 4), load(taken + 4), load(kept + 4));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to), low);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 4), high);
   }
   static __m128i blend(__m128i take, __m128i taken, __m128i kept) noexcept {
      return _mm_or_si128(_mm_and_si128(take, taken), _mm_andnot_si128(take, kept));
   }
   static __m128i load(SlotHash const* slots) noexcept {
      return _mm_loadu_si128(reinterpret_cast<__m128i const*>(slots));
   }
   static SlotMask mask(__m128i low, __m128i high) noexcept {
      return SlotMask(
         static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi32(low, high))));
   }
};
using HashWindow = SseWindow;
#else
using HashWindow = PortableWindow;
#endif

// Moves bytes up or down by the size of a member, without a branch on how many they
// are: a whole span is read, and what does not move is written back as it was.
template <size_t Span>
class ByteMove {
   static_assert(Span % 16 == 0 && Span <= 96);

 public:
   static constexpr size_t span = Span;

   // The bytes at `from`, `count` of them, go up by `stride`.
   static void up(std::byte* from, size_t count, size_t stride) noexcept {
      blend(from + stride, from, count);
   }
   // The bytes at `to + stride`, `count` of them, go down by `stride`.
   static void down(std::byte* to, size_t count, size_t stride) noexcept {
      blend(to, to + stride, count);
   }

 private:
   static void blend(std::byte* to, std::byte const* taken, size_t count) noexcept {
#if defined(__SSE2__)
      struct Masks {
         alignas(16) unsigned char bytes[2 * Span] = {};
         constexpr Masks() {
            for (size_t i = 0; i < Span; ++i) {
               bytes[i] = 0xff;
            }
         }
      };
      static constexpr Masks kMasks;
      unsigned char const* const take = kMasks.bytes + Span - count;
      __m128i result[Span / 16];
      for (size_t i = 0; i < Span / 16; ++i) {
         __m128i const mask = load(take + 16 * i);
         result[i] = _mm_or_si128(_mm_and_si128(mask, load(taken + 16 * i)),
                                  _mm_andnot_si128(mask, load(to + 16 * i)));
      }
      for (size_t i = 0; i < Span / 16; ++i) {
         _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 16 * i), result[i]);
      }
#else
      std::memmove(to, taken, count);
#endif
   }
#if defined(__SSE2__)
   static __m128i load(void const* bytes) noexcept {
      return _mm_loadu_si128(static_cast<__m128i const*>(bytes));
   }
#endif
};

} // namespace Zin::Impl
