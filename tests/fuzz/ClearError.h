#pragma once

#include "fuzz/Target.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace Fuzz {

// Messages may quote what they complain of, but not at any length.
inline constexpr size_t kLongestMessage = 1000;

// What a person reads must be one line of UTF-8 that does not drive the terminal, and
// no longer than one can read.
inline void requireReadable(std::string const& message) {
   require(!message.empty(), "an error says something");
   require(message.size() <= kLongestMessage, "a message is short");
   require(std::ranges::none_of(message,
                                [](unsigned char c) { return std::iscntrl(c) != 0; }),
           [&] { return "a message has no control characters: " + message; });
   try {
      static_cast<void>(nlohmann::json(message).dump());
   } catch (nlohmann::json::exception const&) {
      require(false, [&] { return "a message is UTF-8: " + message; });
   }
}

// The same of the message of a refused document or line: it names the place, and says
// either what is wrong with the text or what stands there and what is allowed. prefix:
// what it must begin with. Returns what stands behind that.
inline void requireClear(std::string const& message, std::string_view prefix) {
   requireReadable(message);
   require(message.starts_with(prefix),
           [&] { return "the place comes first: " + message; });
   auto const says = [&](std::string_view part) {
      return message.find(part) != std::string::npos;
   };
   require(says(": not JSON: ") || says(": nested deeper than ") ||
              (says(" stands here") && says("; allowed is ")),
           [&] { return "a message says what is wrong: " + message; });
}

} // namespace Fuzz
