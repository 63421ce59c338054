#include "zin/ValueTraits.h"

#include "zin/RangeException.h"

namespace Zin {

void throwImplausible(std::string_view text) {
   throw RangeException("\"" + std::string(text) + "\" is out of range");
}

bool ValueTraits<bool>::fromText(std::string_view text) {
   if (text != "true" && text != "false") {
      throw TextException("\"" + std::string(text) + "\" is neither true nor false");
   }
   return text == "true";
}

} // namespace Zin
