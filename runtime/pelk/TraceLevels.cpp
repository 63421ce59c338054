#include "pelk/TraceLevels.h"

#include "pelk/Printable.h"

#include <charconv>
#include <stdexcept>

namespace Pelk {

namespace {

constexpr std::string_view kAllowed =
   "allowed are levels from 0 to 15, ranges of them such as 6-9, lists such as 4,8, "
   "or all";

[[noreturn]] void refuse(std::string_view text, std::string_view part, size_t at,
                         std::string_view why) {
   std::string message = "trace levels \"";
   message.append(printable(text)).append("\": ");
   if (part.empty()) {
      message.append("nothing stands");
   } else {
      message.append("\"").append(printable(part)).append("\" stands");
   }
   message.append(" at character ").append(std::to_string(at + 1));
   throw std::invalid_argument(message.append(why).append("; ").append(kAllowed));
}

// One level, which must take the whole of the part.
uint16_t level(std::string_view text, std::string_view part, size_t at) {
   uint16_t value = 0;
   auto const [end, error] =
      std::from_chars(part.data(), part.data() + part.size(), value);
   if (error != std::errc{} || end != part.data() + part.size() ||
       value > TraceLevels::kMax) {
      refuse(text, part, at, "");
   }
   return value;
}

// One item of the list: a level or a range.
TraceLevels item(std::string_view text, std::string_view part, size_t at) {
   size_t const dash = part.find('-');
   if (dash == std::string_view::npos) {
      return TraceLevels::of(level(text, part, at));
   }
   uint16_t const first = level(text, part.substr(0, dash), at);
   uint16_t const last = level(text, part.substr(dash + 1), at + dash + 1);
   if (first > last) {
      refuse(text, part, at, ", a range that runs downwards");
   }
   TraceLevels levels;
   for (uint16_t n = first; n <= last; ++n) {
      levels = levels | TraceLevels::of(n);
   }
   return levels;
}

} // namespace

TraceLevels TraceLevels::fromText(std::string_view text) {
   if (text == "all") {
      return all();
   }
   TraceLevels levels;
   size_t at = 0;
   while (true) {
      size_t const comma = text.find(',', at);
      levels = levels | item(text, text.substr(at, comma - at), at);
      if (comma == std::string_view::npos) {
         return levels;
      }
      at = comma + 1;
   }
}

std::string TraceLevels::text() const {
   if (*this == all()) {
      return "all";
   }
   std::string text;
   for (uint16_t first = 0; first <= kMax; ++first) {
      if (!has(first)) {
         continue;
      }
      uint16_t last = first;
      while (has(static_cast<uint16_t>(last + 1))) {
         ++last;
      }
      text.append(text.empty() ? "" : ",").append(std::to_string(first));
      if (last != first) {
         text.append("-").append(std::to_string(last));
      }
      first = last;
   }
   return text;
}

} // namespace Pelk
