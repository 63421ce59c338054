#pragma once

#include "bridging/VlanId.h"
#include "gmp/MembershipJoinStatus.h"
#include "lidra/IpGenAddr.h"
#include "pelk/Ptr.h"

#include <cstdint>

// The membership-join tree as the outputs use it: making the levels above a leaf,
// taking away those that a removal left empty, and walking all leaves.
//
// Every step may notify, and whoever is notified may change the tree. So levels are
// held by counted handles, and looked at again before they are written or removed.
namespace Irb::Multicast::Evpn::MembershipTree {

using Joins = Gmp::MembershipJoinStatus;

// The levels above the leaves of a source; those that are not there are null.
struct SourcePath {
   Pelk::Ptr<Gmp::VlanMembershipJoin> vlan;
   Pelk::Ptr<Gmp::GroupMembershipJoin> group;
   Pelk::Ptr<Gmp::SourceMembershipJoin> source;
   // Of the VLANs when this one was found there, if it was.
   uint32_t joinsVersion = UINT32_MAX;

   explicit operator bool() const noexcept { return static_cast<bool>(source); }
};

SourcePath find(Joins const& joins, Bridging::VlanId vlanId,
                Lidra::IpGenAddr const& group, Lidra::IpGenAddr const& source);

// The levels, from the top; made if they are not there. Gives up, taking away what is
// empty, and returns nothing, where the flag comes up meanwhile.
SourcePath create(Joins& joins, Bridging::VlanId vlanId, Lidra::IpGenAddr const& group,
                  Lidra::IpGenAddr const& source, bool const& overtaken);
// The same for the VLAN alone.
Pelk::Ptr<Gmp::VlanMembershipJoin> createVlan(Joins& joins, Bridging::VlanId vlanId,
                                              bool const& overtaken);

// Removes the source, then its group, then its VLAN, each if nothing is left in it.
void prune(Joins& joins, SourcePath const& path);
void pruneVlan(Joins& joins, Gmp::VlanMembershipJoin const& vlan);

namespace Impl {

// Where a walk of a level begins: the bookmark counts only below a matching level.
template <typename Map, typename Key>
auto begin(Map const& map, bool resumed, Key const& bookmark) {
   return resumed ? map.iterate(bookmark) : map.iterate();
}

} // namespace Impl

// Visits every router interface, as OutputReconciler.h has it. False if the visitor
// ended it.
template <typename Key, typename Visitor>
bool walkRouterIntfs(Joins& joins, Key const* bookmark, Visitor& visitor) {
   Key const from = bookmark != nullptr ? *bookmark : Key();
   bool inVlan = from.k0Valid;
   for (auto atVlan = Impl::begin(joins.vlan(), inVlan, from.k0); atVlan; ++atVlan) {
      Key key(atVlan.key(), {});
      key.k0Valid = true;
      if (visitor.yieldAt(key)) {
         return false;
      }
      bool const inIntf = inVlan && from.k1Valid && key.k0 == from.k0;
      inVlan = false;
      if (atVlan.value()->routerIntf().empty()) {
         continue; // most have none
      }
      auto const vlan = atVlan.value();
      for (auto atIntf = Impl::begin(vlan->routerIntf(), inIntf, from.k1); atIntf;
           ++atIntf) {
         key.k1 = atIntf.key();
         key.k1Valid = true;
         if (visitor.yieldAt(key)) {
            return false;
         }
         visitor.leaf(key, [&] {
            vlan->routerIntfDel(key.k1);
            pruneVlan(joins, *vlan);
         });
      }
   }
   return true;
}

// Visits every member of one of the sources' sets, leaves(source). erase(source, intf)
// removes one.
template <typename Key, typename Leaves, typename Erase, typename Visitor>
bool walkSourceIntfs(Joins& joins, Key const* bookmark, Visitor& visitor, Leaves leaves,
                     Erase erase) {
   Key const from = bookmark != nullptr ? *bookmark : Key();
   bool inVlan = from.k0Valid;
   for (auto atVlan = Impl::begin(joins.vlan(), inVlan, from.k0); atVlan; ++atVlan) {
      Key key(atVlan.key(), {}, {}, {});
      key.k0Valid = true;
      if (visitor.yieldAt(key)) {
         return false;
      }
      SourcePath path{atVlan.value(), {}, {}};
      bool inGroup = inVlan && from.k1Valid && key.k0 == from.k0;
      inVlan = false;
      for (auto atGroup = Impl::begin(path.vlan->group(), inGroup, from.k1); atGroup;
           ++atGroup) {
         key.k1 = atGroup.key();
         key.k1Valid = true;
         key.k2Valid = key.k3Valid = false;
         if (visitor.yieldAt(key)) {
            return false;
         }
         path.group = atGroup.value();
         bool inSource = inGroup && from.k2Valid && key.k1 == from.k1;
         inGroup = false;
         for (auto atSource = Impl::begin(path.group->source(), inSource, from.k2);
              atSource; ++atSource) {
            key.k2 = atSource.key();
            key.k2Valid = true;
            key.k3Valid = false;
            if (visitor.yieldAt(key)) {
               return false;
            }
            bool const inIntf = inSource && from.k3Valid && key.k2 == from.k2;
            inSource = false;
            if (leaves(*atSource.value()).empty()) {
               continue;
            }
            path.source = atSource.value();
            for (auto atIntf = Impl::begin(leaves(*path.source), inIntf, from.k3);
                 atIntf; ++atIntf) {
               key.k3 = atIntf.key();
               key.k3Valid = true;
               if (visitor.yieldAt(key)) {
                  return false;
               }
               visitor.leaf(key, [&] {
                  erase(*path.source, key.k3);
                  prune(joins, path);
               });
            }
         }
      }
   }
   return true;
}

} // namespace Irb::Multicast::Evpn::MembershipTree
