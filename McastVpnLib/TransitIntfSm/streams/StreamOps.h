#pragma once

#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"

#include <cstddef>
#include <string_view>

// What the streams have in common.
namespace Irb::Multicast::Evpn::StreamOps {

// The one tunnel interface that carries EVPN, "Vxlan1".
Lidra::IntfId vxlanIntf() noexcept;
// The interface of every join, "Null0": it forwards nothing itself, and makes the
// group-membership layer forward on the VLAN.
Lidra::IntfId nullIntf() noexcept;

// The texts of filters that more than one stream has.
inline constexpr char const* kFilterVxlanIntf =
   "( vtiIntf == Lidra::IntfId( \"Vxlan1\" ) )";
inline constexpr char const* kFilterVxlanStatus = "vx1Status";

// Trace lines of the function named.
// A filter ends the way of the element at hand; others go on.
void filterFailed(char const* function, char const* filter);
// The number of elements of a foreach( ... ).
void flattening(char const* function, char const* collection, size_t elements);
void elementTraced(char const* function, L3::VrfName const& vrfName);
inline void element(char const* function, L3::VrfName const& vrfName) {
   if (TransitIntfTrace::transitIntfSm.enabled(TransitIntfTrace::kDetail))
      [[unlikely]] {
      elementTraced(function, vrfName);
   }
}

} // namespace Irb::Multicast::Evpn::StreamOps
