#include "McastVpnLib/TransitIntfSm/outputs/ReconcileTrace.h"

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"

namespace Irb::Multicast::Evpn::ReconcileTrace {

using TransitIntfTrace::kDetail;

void reconciling(char const* output, bool reconciling) {
   TRANSIT_INTF_TRACE_AS(kDetail, "handleInitialized", "Reconciling {}: {:}", output,
                         reconciling);
}

void entry(char const* handler) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler, "{}", handler);
}

void alreadyReady(char const* handler) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler, " already ready, not reconciling.");
}

void inputScansComplete(char const* handler, char const* output) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler, "Input scans for {} complete", output);
}

void skipDeletions(char const* handler, char const* output) {
   TRANSIT_INTF_TRACE_AS(
      kDetail, handler, "Setting reconciliationState to skip deletions for {}", output);
}

void skipNothing(char const* handler, char const* output) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler,
                         "Setting reconciliationState to skip nothing for {}", output);
}

void yielding(char const* handler, uint64_t items, uint64_t deletions) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler,
                         "Yielding in reconciliation processing after processing {} "
                         "items, including {} deletions .",
                         items, deletions);
}

void insertionScanDone(char const* handler, uint64_t items, size_t seen) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler,
                         "Insertion scan for reconciliation is done after processing "
                         "{} items in last run. Total seen: {}",
                         items, seen);
}

void deletionScanDone(char const* handler, uint64_t items, uint64_t deletions) {
   TRANSIT_INTF_TRACE_AS(kDetail, handler,
                         "Deletion scan for reconciliation is done, last task run "
                         "processed {} items, deleting {} items.",
                         items, deletions);
}

} // namespace Irb::Multicast::Evpn::ReconcileTrace
