#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Fennlog {

// How a format names its arguments.
enum class Placeholders : uint8_t {
   percent, // "%s", and "%x" for hexadecimal
   brace,   // "{}" or "{:}"; "{{" and "}}" stand for single braces
};

// The fixed part of a message.
struct MessageFormat {
   std::string_view text;
   uint16_t level = 0;
   // How the places of the arguments are marked.
   Placeholders placeholders = Placeholders::percent;

   // The number of arguments that the text has places for.
   constexpr size_t places() const noexcept {
      size_t count = 0;
      for (size_t at = 0; at + 1 < text.size(); ++at) {
         if (placeholders == Placeholders::percent) {
            count += isPercentPlace(at) ? 1 : 0;
         } else if (text[at] == '{') {
            count += text[at + 1] == '{' ? 0 : 1;
            ++at;
         }
      }
      return count;
   }

   // Whether the place, counted from 0, is a "%x".
   constexpr bool isHexPlace(size_t place) const noexcept {
      if (placeholders != Placeholders::percent) {
         return false;
      }
      for (size_t at = 0; at + 1 < text.size(); ++at) {
         if (isPercentPlace(at) && place-- == 0) {
            return text[at + 1] == 'x';
         }
      }
      return false;
   }

   // The same for the same text and level in every build (FNV-1a, 32 bits).
   constexpr uint32_t id() const noexcept {
      uint32_t hash = 2166136261u;
      for (char const c : text) {
         hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
      }
      return (hash ^ level) * 16777619u;
   }

 private:
   // A '%' that is followed by s or x, not by anything else, is a place.
   constexpr bool isPercentPlace(size_t at) const noexcept {
      return text[at] == '%' && (text[at + 1] == 's' || text[at + 1] == 'x');
   }
};

} // namespace Fennlog
