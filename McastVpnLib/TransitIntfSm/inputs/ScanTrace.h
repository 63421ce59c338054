#pragma once

#include "pelk/Trace.h"

#include <cstdint>
#include <string_view>

// What an input scan says in the text trace: as the machine whose handler it is, and
// the function named.
namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::ScanTrace {

using Handler = Pelk::TraceHandler;

// A function is entered.
void entry(Handler const& handler, char const* function);
// doInputScan(): the machine's name.
void restart(Handler const& handler);
// A scan begins or is resumed.
void begin(Handler const& handler, char const* function, bool complete, bool resumed,
           bool scanned);
void yielding(Handler const& handler, char const* function, char const* unit,
              uint64_t items, uint64_t total);
// The end of a scan, of the first pass if so said.
void complete(Handler const& handler, char const* function, bool initial);
void childComplete(Handler const& handler, char const* function, bool initial,
                   uint64_t items);

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::ScanTrace
