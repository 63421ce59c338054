#include "McastVpnLib/TransitIntfSm/outputs/IncludeIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/outputs/MembershipTree.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconcilerImpl.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kDetail;

void IncludeIntfOutput::insert(TransitIntfSm& sm, char const* function, Key const& key,
                               Value const&, bool const& overtaken) {
   auto const path = MembershipTree::create(*sm.membershipJoinStatus(), key.k0, key.k1,
                                            key.k2, overtaken);
   if (!path) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(
      kDetail, function,
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].includeIntf[ intfId ] ): inserting k1={}, k2={}, k3={}, k4={}",
      key.k0, key.k1, key.k2, key.k3);
   path.source->includeIntfIs(key.k3);
}

void IncludeIntfOutput::remove(TransitIntfSm& sm, char const* function,
                               Key const& key) {
   auto& joins = *sm.membershipJoinStatus();
   auto const path = MembershipTree::find(joins, key.k0, key.k1, key.k2);
   if (!path) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(
      kDetail, function,
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].includeIntf[ intfId ] ): deleting k1={}, k2={}, k3={}, k4={}",
      key.k0, key.k1, key.k2, key.k3);
   path.source->includeIntfDel(key.k3);
   MembershipTree::prune(joins, path);
}

template <typename Visitor>
bool IncludeIntfOutput::walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor) {
   return MembershipTree::walkSourceIntfs(
      *sm.membershipJoinStatus(), bookmark, visitor,
      [](auto const& source) -> auto& { return source.includeIntf(); },
      [](auto& source, Lidra::IntfId intfId) { source.includeIntfDel(intfId); });
}

template class OutputSink<IncludeIntfOutput>;
template class OutputReconciler<IncludeIntfOutput>;

} // namespace Irb::Multicast::Evpn
