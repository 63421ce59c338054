#pragma once

#include "McastVpnLib/Export.h"
#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "zin/Optional.h"
#include "zin/ValueTraits.h"

#include <cstdint>
#include <string>
#include <tuple>

// The values that flow through the pipeline, and their text in the trace.
namespace FlumaCode {

// Nothing but presence: the value of a member of a set.
using Unit = Zin::Unit;

template <typename... Elements>
using Tuple = std::tuple<Elements...>;

// The text of one value: "None" or "Optional( x )", "Tuple( x, y )", "Unit", and the
// value's own stream form for everything else. Defined for the types below.
template <typename T>
std::string flumaPrint(T const& value);

extern template MCASTVPNLIB_EXPORT std::string flumaPrint(L3::VrfName const&);
extern template MCASTVPNLIB_EXPORT std::string flumaPrint(uint16_t const&);
extern template MCASTVPNLIB_EXPORT std::string flumaPrint(Lidra::IntfId const&);
extern template MCASTVPNLIB_EXPORT std::string flumaPrint(Bridging::VlanId const&);
extern template MCASTVPNLIB_EXPORT std::string flumaPrint(Unit const&);
extern template MCASTVPNLIB_EXPORT std::string
flumaPrint(Zin::Optional<Bridging::VlanIdOrNone> const&);
extern template MCASTVPNLIB_EXPORT std::string flumaPrint(Zin::Optional<Unit> const&);
extern template MCASTVPNLIB_EXPORT std::string
flumaPrint(Tuple<Lidra::IntfId, Lidra::IpGenAddr> const&);
extern template MCASTVPNLIB_EXPORT std::string
flumaPrint(Tuple<Zin::Optional<Bridging::VlanIdOrNone>, bool> const&);

} // namespace FlumaCode
