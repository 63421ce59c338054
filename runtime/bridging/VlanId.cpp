#include "bridging/VlanId.h"

#include "zin/Decimal.h"

#include <ostream>

namespace Bridging {

VlanId::VlanId(std::string_view text) try
   : VlanId(Zin::decimalFromText<uint16_t>(text)) {
} catch (Zin::RangeException const&) {
   outOfRange(); // the same text, however far outside the number is
}

VlanIdOrNone::VlanIdOrNone(std::string_view text)
   : value_(Zin::decimalFromText<uint16_t>(text)) {}

void VlanId::outOfRange() {
   throw Zin::RangeException("Bridging::VlanId::value < 1 or > 4094 not allowed");
}

std::ostream& operator<<(std::ostream& out, VlanId vlanId) {
   return out << vlanId.value();
}

std::ostream& operator<<(std::ostream& out, VlanIdOrNone vlanId) {
   return out << vlanId.value();
}

} // namespace Bridging
