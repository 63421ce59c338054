#include "l3/VrfName.h"

#include "zin/RangeException.h"

#include <ostream>

namespace L3 {

void VrfName::tooLong() {
   throw Zin::RangeException("Zin::String::bytes > maxLength() not allowed");
}

std::ostream& operator<<(std::ostream& out, VrfName const& vrf) {
   return out << vrf.view();
}

} // namespace L3
