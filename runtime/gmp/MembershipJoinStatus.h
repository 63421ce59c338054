#pragma once

#include "bridging/VlanId.h"
#include "gmp/VlanMembershipJoin.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "zin/HashMap2018.h"

#include <cstddef>

namespace Irb::Multicast::Gmp {

// The membership joins that the group-membership layer acts on: a tree of VLAN, group
// and source, with sets of interfaces as leaves. Each level announces its own changes,
// so a record of all notifications, in order, makes the same tree again.
//
// The caller of a machine owns it; several writers may share it. Event thread only.
class PELK_EXPORT MembershipJoinStatus final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kVlan = 258;

   struct VlanTag {
      static constexpr char const* name = "vlan";
      static constexpr uint32_t seed = 0xf25a1d08;
   };
   using VlanMap =
      Zin::HashMap2018<VlanTag, Bridging::VlanId, Pelk::Ptr<VlanMembershipJoin>>;

   // The first level of the tree: the VLANs that have joins.
   VlanMap const& vlan() const noexcept { return vlan_; }
   // The VLAN's joins, or null.
   Pelk::Ptr<VlanMembershipJoin> vlan(Bridging::VlanId vlanId) const;
   // The VLAN's joins; made, empty, and announced under kVlan if they are new.
   Pelk::Ptr<VlanMembershipJoin> vlanIs(Bridging::VlanId vlanId);
   // Removes the VLAN with everything below it; announced under kVlan if it was there.
   // One notification, for the level removed.
   void vlanDel(Bridging::VlanId vlanId);
   void vlanDelAll();
   // Makes room for that many VLANs. Not a change.
   void vlanReserve(size_t vlans) { vlan_.reserve(vlans); }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   VlanMap vlan_;
};

} // namespace Irb::Multicast::Gmp
