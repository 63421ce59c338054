#include "pelk/Printable.h"

#include <cstddef>
#include <cstdint>

namespace Pelk {

namespace {

// How many bytes the character takes that the text begins with; 0 if they are not
// UTF-8: too few or too many, a surrogate, or beyond the last character.
size_t lengthOfCharacter(std::string_view text) {
   auto const first = static_cast<unsigned char>(text.front());
   size_t const length = first < 0x80             ? 1
                         : (first & 0xe0) == 0xc0 ? 2
                         : (first & 0xf0) == 0xe0 ? 3
                         : (first & 0xf8) == 0xf0 ? 4
                                                  : 0;
   if (length <= 1 || length > text.size()) {
      return length == 1 ? 1 : 0;
   }
   uint32_t value = first & (0x7fu >> length);
   for (char const c : text.substr(1, length - 1)) {
      auto const byte = static_cast<unsigned char>(c);
      if ((byte & 0xc0) != 0x80) {
         return 0;
      }
      value = value << 6 | (byte & 0x3fu);
   }
   constexpr uint32_t kFirstOfLength[] = {0, 0, 0x80, 0x800, 0x10000};
   bool const isSurrogate = value >= 0xd800 && value <= 0xdfff;
   return value < kFirstOfLength[length] || isSurrogate || value > 0x10ffff ? 0
                                                                            : length;
}

void appendEscaped(std::string& text, char const* prefix, unsigned char byte) {
   constexpr std::string_view kDigits = "0123456789abcdef";
   text += prefix;
   text += kDigits[byte >> 4];
   text += kDigits[byte & 0xf];
}

// Of one byte, or of two that stand for 0x80 to 0x9f.
bool isControl(std::string_view character) {
   auto const first = static_cast<unsigned char>(character.front());
   auto const last = static_cast<unsigned char>(character.back());
   constexpr unsigned char kDelete = 0x7f;
   return character.size() == 1 ? first < ' ' || first == kDelete
                                : first == 0xc2 && last < 0xa0;
}

} // namespace

std::string printable(std::string_view text) {
   std::string result;
   result.reserve(text.size());
   while (!text.empty()) {
      size_t const length = lengthOfCharacter(text);
      auto const character = text.substr(0, length == 0 ? 1 : length);
      auto const last = static_cast<unsigned char>(character.back());
      if (length == 0) {
         appendEscaped(result, "\\x", last);
      } else if (isControl(character)) {
         appendEscaped(result, "\\u00", last);
      } else {
         result += character;
      }
      text.remove_prefix(character.size());
   }
   return result;
}

} // namespace Pelk
