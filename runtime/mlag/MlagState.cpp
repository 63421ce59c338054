#include "mlag/MlagState.h"

#include "zin/Decimal.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace Mlag {

namespace {

constexpr std::array<std::string_view, 5> kNames = {"disabled", "inactive",
                                                    "connecting", "active", "withheld"};

} // namespace

MlagState mlagStateFromText(std::string_view text) {
   auto const name = std::ranges::find(kNames, text);
   if (name != kNames.end()) {
      return static_cast<MlagState>(name - kNames.begin());
   }
   return static_cast<MlagState>(Zin::decimalFromText<uint32_t>(text));
}

std::ostream& operator<<(std::ostream& out, MlagState state) {
   auto const number = static_cast<uint32_t>(state);
   if (number < kNames.size()) {
      return out << kNames[number];
   }
   return out << number;
}

} // namespace Mlag
