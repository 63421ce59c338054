#pragma once

#include "pelk/Export.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Pelk {

// A set of trace levels, 0 to 15: one bit a level, bit N for level N. The form is
// frozen: it is the enable word of every trace handler.
class PELK_EXPORT TraceLevels {
 public:
   static constexpr uint16_t kMax = 15;

   constexpr TraceLevels() noexcept = default;
   constexpr explicit TraceLevels(uint16_t word) noexcept : word_(word) {}

   // From "7", "6-9", "4,8", a list of such as "4,6-9", or "all". Anything else raises
   // std::invalid_argument, which says what stands where and what is allowed.
   static TraceLevels fromText(std::string_view text);

   // All 16 levels.
   static constexpr TraceLevels all() noexcept { return TraceLevels(0xffff); }
   // One level alone; none if there is no such level.
   static constexpr TraceLevels of(uint16_t level) noexcept {
      return TraceLevels(static_cast<uint16_t>(level <= kMax ? 1u << level : 0u));
   }

   // The bits.
   constexpr uint16_t word() const noexcept { return word_; }
   // Whether the level is in the set.
   constexpr bool has(uint16_t level) const noexcept {
      return level <= kMax && ((word_ >> level) & 1) != 0;
   }
   // Whether the two sets have a level in common.
   constexpr bool hasAny(TraceLevels others) const noexcept {
      return (word_ & others.word_) != 0;
   }
   constexpr bool operator==(TraceLevels const&) const noexcept = default;
   // The levels of either.
   constexpr TraceLevels operator|(TraceLevels other) const noexcept {
      return TraceLevels(static_cast<uint16_t>(word_ | other.word_));
   }

   // The shortest text that fromText() reads back, "4,6-9"; empty for no level.
   std::string text() const;

 private:
   uint16_t word_ = 0;
};

} // namespace Pelk
