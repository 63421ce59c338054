#pragma once

#include <bit>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Comparing one hash with eight neighbouring slots at once.
namespace Zin::Impl {

// A hash as it stands in a slot: as a signed number of the same order, because SSE2
// compares signed numbers only. The greatest one marks a slot that was never used.
using SlotHash = int32_t;
inline constexpr SlotHash kEmptySlot = INT32_MAX;
inline constexpr uint32_t kWindowSlots = 8;

constexpr SlotHash toSlotHash(uint32_t hash) noexcept {
   return static_cast<SlotHash>((hash - (hash == UINT32_MAX ? 1 : 0)) ^ 0x80000000u);
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

 private:
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

} // namespace Zin::Impl
