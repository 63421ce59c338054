#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/AddressFamily.h"
#include "lidra/IntfId.h"
#include "lidra/IpAddr.h"
#include "lidra/IpGenAddr.h"
#include "mlag/MlagState.h"
#include "zin/NumberTraits.h"
#include "zin/TypeTable.h"

namespace Zin {

namespace {

template <typename... T>
struct Registrations {
   TypeRegistration<ValueType> all[sizeof...(T)] = {
      TypeRegistration(valueTypeOf<T>)...};
};

Registrations<bool, uint16_t, uint32_t, Unit, Bridging::VlanId, Bridging::VlanIdOrNone,
              L3::VrfName, Lidra::AddressFamily, Lidra::IntfId, Lidra::IpAddr,
              Lidra::IpGenAddr, Mlag::MlagState> const registrations;

} // namespace

} // namespace Zin
