#pragma once

#include "McastVpnLib/TransitIntfSm/OutputState.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputKeys.h"
#include "zin/ValueTraits.h"

namespace Irb::Multicast::Evpn {

class TransitIntfSm;

// What the outputs into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ]
// .source[ anyGrpOrSrc ] ) have in common, one for each set of interfaces of a source.
// For the members see OutputSink.h and OutputReconciler.h. Traits add what they ask
// for, and
//
//    kInserting, kDeleting                   trace texts
//    leaves(source)                          the set
//    leafIs(source, intf), leafDel(source, intf)
template <typename Traits, typename KeyName>
struct SourceIntfOutput {
   using State = FlumaCode::TransitIntfSm::OutputState;
   using Key = OutputKeys::GroupSourceKey<KeyName>;
   using Value = Zin::Unit;

   static void insert(TransitIntfSm& sm, char const* function, Key const& key,
                      Value const& value, bool const& overtaken);
   static void remove(TransitIntfSm& sm, char const* function, Key const& key);

   template <typename Visitor>
   static bool walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor);

 private:
   friend Traits;
   SourceIntfOutput() = default;
};

} // namespace Irb::Multicast::Evpn
