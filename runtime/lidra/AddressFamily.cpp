#include "lidra/AddressFamily.h"

#include "zin/RangeException.h"

#include <ostream>

namespace Lidra {

AddressFamily addressFamilyFromText(std::string_view text) {
   if (text != "ipv4" && text != "ipv6") {
      throw Zin::TextException("\"" + std::string(text) +
                               "\" is neither ipv4 nor ipv6");
   }
   return text == "ipv6" ? AddressFamily::ipv6 : AddressFamily::ipv4;
}

std::ostream& operator<<(std::ostream& out, AddressFamily af) {
   return out << (af == AddressFamily::ipv6 ? "ipv6" : "ipv4");
}

} // namespace Lidra
