#include "pelk/Printable.h"

namespace Pelk {

std::string printable(std::string_view text) {
   constexpr std::string_view kDigits = "0123456789abcdef";
   constexpr unsigned char kDelete = 0x7f;
   std::string result;
   result.reserve(text.size());
   for (char const c : text) {
      auto const byte = static_cast<unsigned char>(c);
      if (byte >= ' ' && byte != kDelete) {
         result += c;
      } else {
         result += "\\u00";
         result += kDigits[byte >> 4];
         result += kDigits[byte & 0xf];
      }
   }
   return result;
}

} // namespace Pelk
