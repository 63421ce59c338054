#pragma once

#include <cstddef>
#include <cstdint>

// What a reconciliation says in the text trace, at the level of details: as the handler
// named, about the output named.
namespace Irb::Multicast::Evpn::ReconcileTrace {

void reconciling(char const* output, bool reconciling);
void entry(char const* handler);
void alreadyReady(char const* handler);
void inputScansComplete(char const* handler, char const* output);
void skipDeletions(char const* handler, char const* output);
void skipNothing(char const* handler, char const* output);
void yielding(char const* handler, uint64_t items, uint64_t deletions);
void insertionScanDone(char const* handler, uint64_t items, size_t seen);
void deletionScanDone(char const* handler, uint64_t items, uint64_t deletions);

} // namespace Irb::Multicast::Evpn::ReconcileTrace
