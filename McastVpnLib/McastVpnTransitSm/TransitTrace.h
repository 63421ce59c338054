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
// The facility's ring, which all reactors of the process share; made on first use.
MCASTVPNLIB_EXPORT Pelk::Ptr<Fennlog::TraceHandle> const& ring();

namespace Impl {

// The same, to be tested at every site without a call. The first reactor makes the
// ring.
extern Pelk::TraceHandler textHandler;
extern Pelk::Ptr<Fennlog::TraceHandle> ringHandle;

} // namespace Impl

// Whether any evaluation would say something, to either trace. For the reactor.
inline bool isOn() noexcept {
   constexpr auto kLevels = Pelk::TraceLevels::of(4) | Pelk::TraceLevels::of(8);
   return Impl::textHandler.levels().hasAny(kLevels) ||
          (Impl::ringHandle && Impl::ringHandle->levels().hasAny(kLevels));
}

} // namespace Irb::Multicast::Evpn::TransitTrace

// One message to the facility's ring and to its text trace, for the reactor's sources.
#define TRANSIT_TRACE(level, ...) TRANSIT_TRACE_AS(level, __func__, __VA_ARGS__)
// The same with the function named.
#define TRANSIT_TRACE_AS(level, function, ...)                                         \
   DUALO_AS(::Irb::Multicast::Evpn::TransitTrace::Impl::ringHandle,                    \
            ::Irb::Multicast::Evpn::TransitTrace::Impl::textHandler, level,            \
            ::Irb::Multicast::Evpn::TransitTrace::kFile, function, __VA_ARGS__)
