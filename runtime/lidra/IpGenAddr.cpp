#include "lidra/IpGenAddr.h"

#include "zin/RangeException.h"

#include <arpa/inet.h>

#include <ostream>

namespace Lidra {

namespace {

int systemFamily(AddressFamily af) {
   return af == AddressFamily::ipv6 ? AF_INET6 : AF_INET;
}

} // namespace

static_assert(sizeof(IpGenAddr) == 17, "hash() takes every byte of the object");

IpGenAddr::IpGenAddr(std::string_view text)
   : af_(text.find(':') == std::string_view::npos ? AddressFamily::ipv4
                                                  : AddressFamily::ipv6) {
   std::string const terminated(text);
   if (terminated.find('\0') != std::string::npos ||
       inet_pton(systemFamily(af_), terminated.c_str(), bytes_.data()) != 1) {
      throw Zin::TextException("\"" + terminated + "\" is not an IP address");
   }
}

std::string IpGenAddr::stringValue() const {
   std::array<char, INET6_ADDRSTRLEN> text{};
   return inet_ntop(systemFamily(af_), bytes_.data(), text.data(), text.size());
}

std::ostream& operator<<(std::ostream& out, IpGenAddr const& addr) {
   return out << addr.stringValue();
}

} // namespace Lidra
