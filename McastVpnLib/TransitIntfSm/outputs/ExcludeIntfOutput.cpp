#include "McastVpnLib/TransitIntfSm/outputs/ExcludeIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/outputs/MembershipTree.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconcilerImpl.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kDetail;

void ExcludeIntfOutput::insert(TransitIntfSm& sm, char const* function, Key const& key,
                               Value const&, bool const& overtaken) {
   auto const path = MembershipTree::create(*sm.membershipJoinStatus(), key.k0, key.k1,
                                            key.k2, overtaken);
   if (!path) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(
      kDetail, function,
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].excludeIntf[ intfId ] ): inserting k1={}, k2={}, k3={}, k4={}",
      key.k0, key.k1, key.k2, key.k3);
   path.source->excludeIntfIs(key.k3);
}

void ExcludeIntfOutput::remove(TransitIntfSm& sm, char const* function,
                               Key const& key) {
   auto& joins = *sm.membershipJoinStatus();
   auto const path = MembershipTree::find(joins, key.k0, key.k1, key.k2);
   if (!path) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(
      kDetail, function,
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].excludeIntf[ intfId ] ): deleting k1={}, k2={}, k3={}, k4={}",
      key.k0, key.k1, key.k2, key.k3);
   path.source->excludeIntfDel(key.k3);
   MembershipTree::prune(joins, path);
}

template <typename Visitor>
bool ExcludeIntfOutput::walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor) {
   return MembershipTree::walkSourceIntfs(
      *sm.membershipJoinStatus(), bookmark, visitor,
      [](auto const& source) -> auto& { return source.excludeIntf(); },
      [](auto& source, Lidra::IntfId intfId) { source.excludeIntfDel(intfId); });
}

template class OutputSink<ExcludeIntfOutput>;
template class OutputReconciler<ExcludeIntfOutput>;

} // namespace Irb::Multicast::Evpn
