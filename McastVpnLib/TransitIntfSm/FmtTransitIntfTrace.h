#pragma once

#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/print/FmtFormatters.h"
#include "pelk/Fmtrace.h"

// One line of the machine's text trace: TRANSIT_INTF_TRACE(level, "format", args...).
// No argument is evaluated while the level is off. The function is the enclosing one,
// or the text given.
#define TRANSIT_INTF_TRACE(level, ...)                                                 \
   PELK_FMTRACE(::Irb::Multicast::Evpn::TransitIntfTrace::transitIntfSm, level,        \
                ::Irb::Multicast::Evpn::TransitIntfTrace::kFile, __VA_ARGS__)
#define TRANSIT_INTF_TRACE_AS(level, function, ...)                                    \
   PELK_FMTRACE_AS(::Irb::Multicast::Evpn::TransitIntfTrace::transitIntfSm, level,     \
                   ::Irb::Multicast::Evpn::TransitIntfTrace::kFile, function,          \
                   __VA_ARGS__)
