#include "McastVpnLib/TransitIntfSm/outputs/MembershipTree.h"

#include "zin/EntityOps.h"

namespace Irb::Multicast::Evpn::MembershipTree {

namespace {

// Whether it is this child, and no other, that stands under the key.
template <typename Children, typename Child>
bool isChild(Children const& children, typename Children::key_type const& key,
             Child const& child) {
   auto const* const entry = children.find(key);
   return entry != nullptr && entry->value().get() == &child;
}

bool isEmpty(Gmp::VlanMembershipJoin const& vlan) {
   return vlan.routerIntf().empty() && vlan.group().empty();
}

} // namespace

SourcePath find(Joins const& joins, Bridging::VlanId vlanId,
                Lidra::IpGenAddr const& group, Lidra::IpGenAddr const& source) {
   SourcePath path;
   auto const* const atVlan = joins.vlan().find(vlanId);
   if (atVlan == nullptr) {
      return path;
   }
   path.vlan = atVlan->value();
   path.joinsVersion = joins.vlan().version();
   if (auto const* const atGroup = path.vlan->group().find(group)) {
      path.group = atGroup->value();
      path.source = Zin::child(path.group->source(), source);
   }
   return path;
}

namespace {

// Whoever is notified of a new level may take it out again. It is made once more; but
// whoever takes it out each time shall not keep the event thread for ever.
constexpr int kAttempts = 2;

} // namespace

SourcePath create(Joins& joins, Bridging::VlanId vlanId, Lidra::IpGenAddr const& group,
                  Lidra::IpGenAddr const& source, bool const& overtaken) {
   SourcePath path;
   for (int attempt = 0; !path && attempt < kAttempts; ++attempt) {
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
      if (joins.subscribers() == 0 && path.vlan->subscribers() == 0 &&
          path.group->subscribers() == 0) {
         return path; // nobody was notified
      }
      path = find(joins, vlanId, group, source);
   }
   if (!path) {
      prune(joins, path);
   }
   return path;
}

Pelk::Ptr<Gmp::VlanMembershipJoin> createVlan(Joins& joins, Bridging::VlanId vlanId,
                                              bool const& overtaken) {
   Pelk::Ptr<Gmp::VlanMembershipJoin> vlan = joins.vlan(vlanId);
   for (int attempt = 0; !vlan && attempt < kAttempts; ++attempt) {
      auto const made = joins.vlanIs(vlanId);
      if (overtaken) {
         pruneVlan(joins, *made);
         return nullptr;
      }
      vlan = joins.vlan(vlanId);
   }
   return vlan;
}

void prune(Joins& joins, SourcePath const& path) {
   auto const& [vlan, group, source, joinsVersion] = path;
   if (source && source->includeIntf().empty() && source->excludeIntf().empty() &&
       isChild(group->source(), source->source(), *source)) {
      group->sourceDel(source->source());
   }
   if (group && group->source().empty() &&
       isChild(vlan->group(), group->group(), *group)) {
      vlan->groupDel(group->group());
   }
   if (vlan && joinsVersion == joins.vlan().version()) {
      if (isEmpty(*vlan)) {
         joins.vlanDel(vlan->vlanId());
      }
   } else if (vlan) {
      pruneVlan(joins, *vlan);
   }
}

void pruneVlan(Joins& joins, Gmp::VlanMembershipJoin const& vlan) {
   if (isEmpty(vlan) && isChild(joins.vlan(), vlan.vlanId(), vlan)) {
      joins.vlanDel(vlan.vlanId());
   }
}

} // namespace Irb::Multicast::Evpn::MembershipTree
