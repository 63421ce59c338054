#include "McastVpnLib/TransitIntfSm/outputs/TransitIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconcilerImpl.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kDetail;

void TransitIntfOutput::insert(TransitIntfSm& sm, char const* function, Key const& key,
                               Value const& value, bool const&) {
   TRANSIT_INTF_TRACE_AS(
      kDetail, function,
      "into( transitIntfColl.intf[ transitIntf ] ): inserting k1={}, value={}", key.k0,
      ::FlumaCode::flumaPrint(value));
   sm.transitIntfColl()->intfIs(std::get<0>(value), std::get<1>(value));
}

void TransitIntfOutput::remove(TransitIntfSm& sm, char const* function,
                               Key const& key) {
   TRANSIT_INTF_TRACE_AS(kDetail, function,
                         "into( transitIntfColl.intf[ transitIntf ] ): deleting k1={}",
                         key.k0);
   sm.transitIntfColl()->intfDel(key.k0);
}

void TransitIntfOutput::reserve(TransitIntfSm& sm, size_t entries) {
   sm.transitIntfColl()->intfReserve(entries);
}

template <typename Visitor>
bool TransitIntfOutput::walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor) {
   auto const coll = sm.transitIntfColl();
   auto entry =
      bookmark != nullptr ? coll->intf().iterate(bookmark->k0) : coll->intf().iterate();
   for (; entry; ++entry) {
      auto const key = OutputKeys::validKey<Key>(entry.key());
      if (visitor.yieldAt(key)) {
         return false;
      }
      visitor.leaf(key, [&] { coll->intfDel(key.k0); });
   }
   return true;
}

template class OutputSink<TransitIntfOutput>;
template class OutputReconciler<TransitIntfOutput>;

} // namespace Irb::Multicast::Evpn
