#include "agent/BadInput.h"

#include "pelk/Printable.h"

namespace Agent {

namespace {

constexpr size_t kExcerptMax = 60;

std::string messageOf(nlohmann::json::json_pointer const& pointer,
                      std::string const& found, std::string const& allowed) {
   auto const place = Pelk::printable(pointer.to_string());
   return (place.empty() ? "the document" : place) + ": " + found +
          " stands here; allowed is " + allowed;
}

// Cuts a text that is too long, between two characters.
void shorten(std::string& text) {
   if (text.size() <= kExcerptMax) {
      return;
   }
   bool const isQuoted = text.back() == '"';
   size_t end = kExcerptMax;
   while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) {
      --end;
   }
   text.resize(end);
   text += isQuoted ? "...\"" : "...";
}

} // namespace

BadInput::BadInput(nlohmann::json::json_pointer pointer, std::string const& found,
                   std::string const& allowed)
   : std::runtime_error(messageOf(pointer, found, allowed)),
     pointer_(std::move(pointer)) {}

std::string excerpt(nlohmann::json const& value) {
   // Containers are cut before they are printed: one may be as large as the document.
   if (value.is_structured() && value.size() > kExcerptMax / 4) {
      return value.is_object()
                ? "an object with " + std::to_string(value.size()) + " members"
                : "an array of " + std::to_string(value.size());
   }
   auto text = Pelk::printable(
      value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
   shorten(text);
   return text;
}

std::string quote(std::string_view text) {
   return excerpt(nlohmann::json(text));
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
