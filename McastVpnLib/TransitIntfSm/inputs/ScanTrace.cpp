#include "McastVpnLib/TransitIntfSm/inputs/ScanTrace.h"

#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "pelk/Fmtrace.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::ScanTrace {

using TransitIntfTrace::kDetail;
using TransitIntfTrace::kEvent;
using TransitIntfTrace::kFile;

namespace {

char const* passName(bool initial) {
   return initial ? " initial" : "";
}

} // namespace

void entry(Handler const& handler, char const* function) {
   PELK_FMTRACE_AS(handler, kDetail, kFile, function, "{}", function);
}

void restart(Handler const& handler) {
   PELK_FMTRACE_AS(handler, kDetail, kFile, "doInputScan", "{}", handler.name().view());
}

void begin(Handler const& handler, char const* function, bool complete, bool resumed,
           bool scanned) {
   entry(handler, function);
   PELK_FMTRACE_AS(handler, kDetail, kFile, function,
                   " scan complete: {} resumed: {} scan: {}", complete, resumed,
                   scanned);
}

void yielding(Handler const& handler, char const* function, char const* unit,
              uint64_t items, uint64_t total) {
   PELK_FMTRACE_AS(handler, kEvent, kFile, function,
                   "{} {} yielding after {} iterations ({} total items)",
                   handler.name().view(), unit, items, total);
}

void complete(Handler const& handler, char const* function, bool initial) {
   PELK_FMTRACE_AS(handler, kDetail, kFile, function,
                   "{}{} scan, and parent scan, complete.", handler.name().view(),
                   passName(initial));
}

void childComplete(Handler const& handler, char const* function, bool initial,
                   uint64_t items) {
   PELK_FMTRACE_AS(handler, kDetail, kFile, function,
                   "{}{} scan complete. Processed {} children. ", handler.name().view(),
                   passName(initial), items);
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::ScanTrace
