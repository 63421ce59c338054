#pragma once

#include "pelk/Export.h"
#include "zin/ValueTraits.h"

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace Mlag {

// The state of the MLAG peering. The numbers are frozen: documents carry them. A value
// that is not listed is kept and prints as its number.
enum class MlagState : uint32_t {
   disabled = 0,
   inactive = 1,
   connecting = 2,
   active = 3,   // the pair's shared VTEP address is announced
   withheld = 4, // transit interfaces are withdrawn
};

// From a name above or a decimal number; TextException if it is neither, RangeException
// above 32 bits.
PELK_EXPORT MlagState mlagStateFromText(std::string_view text);

// Prints the name, or the number of a value that is not listed.
PELK_EXPORT std::ostream& operator<<(std::ostream& out, MlagState state);

} // namespace Mlag

template <>
struct Zin::ValueTraits<Mlag::MlagState> {
   static constexpr std::string_view name = "Mlag::MlagState";
   static constexpr ValueForm form = ValueForm::number;
   static constexpr std::string_view allowed =
      "a number from 0 to 4294967295, or one of disabled, inactive, connecting, "
      "active, withheld";
   static std::string toText(Mlag::MlagState const& value) {
      return std::to_string(static_cast<uint32_t>(value));
   }
   static Mlag::MlagState fromText(std::string_view text) {
      return Mlag::mlagStateFromText(text);
   }
};
