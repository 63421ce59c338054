#pragma once

#include "pelk/Trace.h"

#include <cstdint>

// Where the dataflow machine traces to: each machine of it has a facility of its own
// name, and all share the source path.
namespace Irb::Multicast::Evpn::TransitIntfTrace {

inline constexpr char const* kFile = "McastVpnLib/TransitIntfSm";

// Levels. Frozen.
inline constexpr uint16_t kDecision = 4; // what a VLAN was decided to be
inline constexpr uint16_t kFilter = 6;   // filters that failed, flattenings, group-by
inline constexpr uint16_t kStream = 7;   // each event of each stream
inline constexpr uint16_t kEvent = 8;    // each event of an input, and yields
inline constexpr uint16_t kDetail = 9;   // elements, writes, progress of scans

extern Pelk::TraceHandler transitIntfSm;
extern Pelk::TraceHandler mcastEvpnConfigSm0;
extern Pelk::TraceHandler vtiStatusDirSm1;
extern Pelk::TraceHandler vtiStatusSm2;
extern Pelk::TraceHandler mlagStatusSm3;
extern Pelk::TraceHandler pegVlanStatusSm4;

} // namespace Irb::Multicast::Evpn::TransitIntfTrace
