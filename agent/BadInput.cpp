#include "agent/BadInput.h"

#include "agent/JsonText.h"

#include "pelk/Printable.h"

#include <algorithm>
#include <utility>

namespace Agent {

namespace {

constexpr size_t kExcerptMax = 60;
// Enough for any place that a person would make: a VRF's name has at most 100 bytes.
constexpr size_t kPlaceMax = 240;

// The beginning of a text that is longer than that, cut between two characters.
std::string_view beginning(std::string_view text, size_t most) {
   size_t end = std::min(text.size(), most);
   while (end > 0 && end < text.size() &&
          (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) {
      --end;
   }
   return text.substr(0, end);
}

std::string messageOf(nlohmann::json::json_pointer const& pointer,
                      std::string const& found, std::string const& allowed) {
   auto const place = placeText(pointer);
   return (place.empty() ? "the document" : place) + ": " + found +
          " stands here; allowed is " + allowed;
}

} // namespace

BadInput::BadInput(nlohmann::json::json_pointer pointer, std::string const& found,
                   std::string const& allowed)
   : std::runtime_error(messageOf(pointer, found, allowed)),
     pointer_(std::move(pointer)) {}

std::string brief(std::string_view text, size_t most) {
   auto whole = Pelk::printable(beginning(text, most));
   if (whole.size() <= most && text.size() <= most) {
      return whole;
   }
   return std::string(beginning(whole, most)) + "...";
}

std::string placeText(nlohmann::json::json_pointer const& pointer) {
   return brief(pointer.to_string(), kPlaceMax);
}

std::string excerpt(nlohmann::json const& value) {
   if (value.is_string()) {
      return quote(value.get_ref<std::string const&>());
   }
   // Containers are cut before they are printed: one may be as large as the document.
   if (value.is_structured() && value.size() > kExcerptMax / 4) {
      return value.is_object()
                ? "an object with " + std::to_string(value.size()) + " members"
                : "an array of " + std::to_string(value.size());
   }
   return brief(jsonText(value), kExcerptMax);
}

std::string quote(std::string_view text) {
   auto const json = jsonText(beginning(text, kExcerptMax));
   auto whole = Pelk::printable(json);
   if (whole.size() <= kExcerptMax && text.size() <= kExcerptMax) {
      return whole;
   }
   // The quote at the end comes after the dots.
   return std::string(beginning(whole.substr(0, whole.size() - 1), kExcerptMax)) +
          "...\"";
}

std::string location(std::string_view file, size_t line) {
   std::string place(file == "-" ? "standard input" : file);
   if (file.empty()) {
      place = "the file \"\"";
   }
   if (line != 0) {
      place += ':' + std::to_string(line);
   }
   return place + ": ";
}

} // namespace Agent
