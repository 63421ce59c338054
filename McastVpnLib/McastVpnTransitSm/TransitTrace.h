#pragma once

#include "McastVpnLib/Export.h"
#include "dualo/Dualo.h"
#include "fennlog/TraceHandle.h"
#include "pelk/Ptr.h"
#include "pelk/Trace.h"

// Where the reactor traces to. Levels: 8 for a handler's entry, 4 for what it decides
// and writes.
namespace Irb::Multicast::Evpn::TransitTrace {

inline constexpr char const* kFacility = "McastVpn::Transit";
inline constexpr char const* kFile = "McastVpnLib/McastVpnTransitSm";

// The facility's text trace.
MCASTVPNLIB_EXPORT Pelk::TraceHandler& text();
// The facility's ring, which all reactors of the process share.
MCASTVPNLIB_EXPORT Pelk::Ptr<Fennlog::TraceHandle> const& ring();

} // namespace Irb::Multicast::Evpn::TransitTrace

// One message to the facility's ring and to its text trace.
#define TRANSIT_TRACE(level, ...)                                                      \
   DUALO(::Irb::Multicast::Evpn::TransitTrace::ring(),                                 \
         ::Irb::Multicast::Evpn::TransitTrace::text(), level,                          \
         ::Irb::Multicast::Evpn::TransitTrace::kFile, __VA_ARGS__)
