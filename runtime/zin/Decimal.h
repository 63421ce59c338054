#pragma once

#include "zin/RangeException.h"

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>
#include <system_error>

namespace Zin {

// The number that a canonical decimal text stands for: digits only, no leading zero.
// Anything else is a TextException; so every number has one text, and two keys of a
// collection never name the same member. A number that T cannot hold is a
// RangeException.
template <std::unsigned_integral T>
T decimalFromText(std::string_view text) {
   T value{};
   auto const* const end = text.data() + text.size();
   auto const [at, error] = std::from_chars(text.data(), end, value);
   bool const leadingZero = text.size() > 1 && text.front() == '0';
   if (error == std::errc::invalid_argument || at != end || leadingZero) {
      throw TextException("\"" + std::string(text) + "\" is not a number");
   }
   if (error != std::errc{}) {
      throw RangeException("\"" + std::string(text) + "\" is out of range");
   }
   return value;
}

} // namespace Zin
