#pragma once

#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/outputs/MembershipTree.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputReconcilerImpl.h"
#include "McastVpnLib/TransitIntfSm/outputs/SourceIntfOutput.h"

// How the outputs below a source work. For their source files.
namespace Irb::Multicast::Evpn {

template <typename Traits, typename KeyName>
void SourceIntfOutput<Traits, KeyName>::insert(TransitIntfSm& sm, char const* function,
                                               Key const& key, Value const&,
                                               bool const& overtaken) {
   auto const path = MembershipTree::create(*sm.membershipJoinStatus(), key.k0, key.k1,
                                            key.k2, overtaken);
   if (!path) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(TransitIntfTrace::kDetail, function, Traits::kInserting,
                         key.k0, key.k1, key.k2, key.k3);
   Traits::leafIs(*path.source, key.k3);
}

template <typename Traits, typename KeyName>
void SourceIntfOutput<Traits, KeyName>::remove(TransitIntfSm& sm, char const* function,
                                               Key const& key) {
   auto& joins = *sm.membershipJoinStatus();
   auto const path = MembershipTree::find(joins, key.k0, key.k1, key.k2);
   if (!path) {
      return;
   }
   TRANSIT_INTF_TRACE_AS(TransitIntfTrace::kDetail, function, Traits::kDeleting, key.k0,
                         key.k1, key.k2, key.k3);
   Traits::leafDel(*path.source, key.k3);
   MembershipTree::prune(joins, path);
}

template <typename Traits, typename KeyName>
template <typename Visitor>
bool SourceIntfOutput<Traits, KeyName>::walk(TransitIntfSm& sm, Key const* bookmark,
                                             Visitor& visitor) {
   return MembershipTree::walkSourceIntfs(
      *sm.membershipJoinStatus(), bookmark, visitor,
      [](auto const& source) -> auto& { return Traits::leaves(source); },
      [](auto& source, Lidra::IntfId intfId) { Traits::leafDel(source, intfId); });
}

} // namespace Irb::Multicast::Evpn
