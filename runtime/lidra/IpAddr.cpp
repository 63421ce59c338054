#include "lidra/IpAddr.h"

#include "zin/RangeException.h"

#include <arpa/inet.h>

#include <array>
#include <ostream>

namespace Lidra {

IpAddr::IpAddr(std::string_view text) {
   in_addr parsed{};
   std::string const terminated(text);
   if (terminated.find('\0') != std::string::npos ||
       inet_pton(AF_INET, terminated.c_str(), &parsed) != 1) {
      throw Zin::TextException("\"" + terminated + "\" is not an IPv4 address");
   }
   value_ = ntohl(parsed.s_addr);
}

std::string IpAddr::stringValue() const {
   in_addr const address{htonl(value_)};
   std::array<char, INET_ADDRSTRLEN> text{};
   return inet_ntop(AF_INET, &address, text.data(), text.size());
}

std::ostream& operator<<(std::ostream& out, IpAddr const& addr) {
   return out << addr.stringValue();
}

} // namespace Lidra
