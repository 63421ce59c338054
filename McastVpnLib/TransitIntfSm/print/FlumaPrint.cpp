#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"

#include <sstream>

namespace FlumaCode {

namespace {

template <typename T>
void print(std::ostream& out, T const& value) {
   out << value;
}

void print(std::ostream& out, Unit const&) {
   out << "Unit";
}

template <typename T>
void print(std::ostream& out, Zin::Optional<T> const& value) {
   if (!value) {
      out << "None";
      return;
   }
   out << "Optional( ";
   print(out, *value);
   out << " )";
}

template <typename First, typename Second>
void print(std::ostream& out, Tuple<First, Second> const& value) {
   out << "Tuple( ";
   print(out, std::get<0>(value));
   out << ", ";
   print(out, std::get<1>(value));
   out << " )";
}

} // namespace

template <typename T>
std::string flumaPrint(T const& value) {
   std::ostringstream out;
   print(out, value);
   return std::move(out).str();
}

template std::string flumaPrint(L3::VrfName const&);
template std::string flumaPrint(uint16_t const&);
template std::string flumaPrint(Lidra::IntfId const&);
template std::string flumaPrint(Bridging::VlanId const&);
template std::string flumaPrint(Unit const&);
template std::string flumaPrint(Zin::Optional<Bridging::VlanIdOrNone> const&);
template std::string flumaPrint(Zin::Optional<Unit> const&);
template std::string flumaPrint(Tuple<Lidra::IntfId, Lidra::IpGenAddr> const&);
template std::string
flumaPrint(Tuple<Zin::Optional<Bridging::VlanIdOrNone>, bool> const&);

} // namespace FlumaCode
