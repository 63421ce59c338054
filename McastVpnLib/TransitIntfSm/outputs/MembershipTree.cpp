#include "McastVpnLib/TransitIntfSm/outputs/MembershipTree.h"

namespace Irb::Multicast::Evpn::MembershipTree {

SourcePath find(Joins const& joins, Bridging::VlanId vlanId,
                Lidra::IpGenAddr const& group, Lidra::IpGenAddr const& source) {
   SourcePath path;
   path.vlan = joins.vlan(vlanId);
   if (path.vlan) {
      path.group = path.vlan->group(group);
   }
   if (path.group) {
      path.source = path.group->source(source);
   }
   return path;
}

SourcePath create(Joins& joins, Bridging::VlanId vlanId, Lidra::IpGenAddr const& group,
                  Lidra::IpGenAddr const& source, bool const& overtaken) {
   for (;;) {
      // What is there already is used, once nobody has taken a level out again.
      if (auto path = find(joins, vlanId, group, source)) {
         return path;
      }
      SourcePath path;
      path.vlan = joins.vlanIs(vlanId);
      if (!overtaken) {
         path.group = path.vlan->groupIs(group);
      }
      if (!overtaken) {
         path.source = path.group->sourceIs(source);
      }
      if (overtaken) {
         prune(joins, find(joins, vlanId, group, source));
         return {};
      }
   }
}

Pelk::Ptr<Gmp::VlanMembershipJoin> createVlan(Joins& joins, Bridging::VlanId vlanId,
                                              bool const& overtaken) {
   for (;;) {
      auto vlan = joins.vlanIs(vlanId);
      if (overtaken) {
         pruneVlan(joins, *vlan);
         return nullptr;
      }
      if (joins.vlan(vlanId) == vlan) {
         return vlan;
      }
   }
}

void prune(Joins& joins, SourcePath const& path) {
   auto const& [vlan, group, source] = path;
   if (source && source->includeIntf().empty() && source->excludeIntf().empty() &&
       group->source(source->source()) == source) {
      group->sourceDel(source->source());
   }
   if (group && group->source().empty() && vlan->group(group->group()) == group) {
      vlan->groupDel(group->group());
   }
   if (vlan) {
      pruneVlan(joins, *vlan);
   }
}

void pruneVlan(Joins& joins, Gmp::VlanMembershipJoin const& vlan) {
   if (vlan.routerIntf().empty() && vlan.group().empty() &&
       joins.vlan(vlan.vlanId()).get() == &vlan) {
      joins.vlanDel(vlan.vlanId());
   }
}

} // namespace Irb::Multicast::Evpn::MembershipTree
