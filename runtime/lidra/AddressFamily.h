#pragma once

#include "pelk/Export.h"
#include "zin/ValueTraits.h"

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace Lidra {

// Which kind of addresses a machine is for.
enum class AddressFamily : uint8_t {
   ipv4 = 1,
   ipv6 = 2,
};

// From "ipv4" or "ipv6"; TextException if it is neither.
PELK_EXPORT AddressFamily addressFamilyFromText(std::string_view text);

// Prints "ipv4" or "ipv6".
PELK_EXPORT std::ostream& operator<<(std::ostream& out, AddressFamily af);

} // namespace Lidra

template <>
struct Zin::ValueTraits<Lidra::AddressFamily> {
   static constexpr std::string_view name = "Lidra::AddressFamily";
   static constexpr ValueForm form = ValueForm::text;
   static constexpr std::string_view allowed = "ipv4 or ipv6";
   static std::string toText(Lidra::AddressFamily const& value) {
      return value == Lidra::AddressFamily::ipv6 ? "ipv6" : "ipv4";
   }
   static Lidra::AddressFamily fromText(std::string_view text) {
      return Lidra::addressFamilyFromText(text);
   }
};
