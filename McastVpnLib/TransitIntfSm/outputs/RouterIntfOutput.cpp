#include "McastVpnLib/TransitIntfSm/outputs/RouterIntfOutput.h"

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/outputs/MembershipTree.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconcilerImpl.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kDetail;

void RouterIntfOutput::insert(TransitIntfSm& sm, char const* function, Key const& key,
                              Value const&, bool const& overtaken) {
   auto const vlan =
      MembershipTree::createVlan(*sm.membershipJoinStatus(), key.k0, overtaken);
   if (!vlan) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(kDetail, function,
                         "into( membershipJoinStatus.vlan[ vlanId ].routerIntf[ intfId "
                         "] ): inserting k1={}, k2={}",
                         key.k0, key.k1);
   vlan->routerIntfIs(key.k1);
}

void RouterIntfOutput::remove(TransitIntfSm& sm, char const* function, Key const& key) {
   auto const vlan = sm.membershipJoinStatus()->vlan(key.k0);
   if (!vlan) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(kDetail, function,
                         "into( membershipJoinStatus.vlan[ vlanId ].routerIntf[ intfId "
                         "] ): deleting k1={}, k2={}",
                         key.k0, key.k1);
   vlan->routerIntfDel(key.k1);
   MembershipTree::pruneVlan(*sm.membershipJoinStatus(), *vlan);
}

template <typename Visitor>
bool RouterIntfOutput::walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor) {
   return MembershipTree::walkRouterIntfs(*sm.membershipJoinStatus(), bookmark,
                                          visitor);
}

template class OutputSink<RouterIntfOutput>;
template class OutputReconciler<RouterIntfOutput>;

} // namespace Irb::Multicast::Evpn
