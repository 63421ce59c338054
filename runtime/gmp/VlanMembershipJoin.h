#pragma once

#include "bridging/VlanId.h"
#include "dorf/DorfValueMap.h"
#include "gmp/GroupMembershipJoin.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "zin/HashMap2018.h"

#include <cstddef>

namespace Irb::Multicast::Gmp {

// The joins of one VLAN: its router interfaces, and its groups. Made by the
// MembershipJoinStatus. Event thread only.
class PELK_EXPORT VlanMembershipJoin final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kVlanId = 258;
   static constexpr int16_t kRouterIntf = 259;
   static constexpr int16_t kGroup = 260;

   struct RouterIntfTag {
      static constexpr char const* name = "routerIntf";
      static constexpr uint32_t seed = 0xe1906f3b;
      static constexpr bool firstInline = true;
   };
   struct GroupTag {
      static constexpr char const* name = "group";
      static constexpr uint32_t seed = 0x0c7be895;
      static constexpr bool firstInline = true;
   };
   using RouterIntfSet = Dorf::DorfValueMap<RouterIntfTag, Lidra::IntfId>;
   using GroupMap =
      Zin::HashMap2018<GroupTag, Lidra::IpGenAddr, Pelk::Ptr<GroupMembershipJoin>>;

   explicit VlanMembershipJoin(Bridging::VlanId vlanId) noexcept : vlanId_(vlanId) {}

   // The VLAN; fixed.
   Bridging::VlanId vlanId() const noexcept { return vlanId_; }

   // The VLAN's router interfaces.
   RouterIntfSet const& routerIntf() const noexcept { return routerIntf_; }
   // Each announces kRouterIntf with the interface as key, if the set changes.
   void routerIntfIs(Lidra::IntfId intfId);
   void routerIntfDel(Lidra::IntfId intfId);
   void routerIntfDelAll();

   // The level below: the groups; 0.0.0.0 is any.
   GroupMap const& group() const noexcept { return group_; }
   // The group's joins, or null.
   Pelk::Ptr<GroupMembershipJoin> group(Lidra::IpGenAddr const& group) const;
   // The group's joins; made, empty, and announced under kGroup if they are new.
   Pelk::Ptr<GroupMembershipJoin> groupIs(Lidra::IpGenAddr const& group);
   // Removes the group with everything below it; announced under kGroup if it was
   // there. One notification, for the level removed.
   void groupDel(Lidra::IpGenAddr const& group);
   void groupDelAll();

   // Made of spare memory; see pelk/SpareBlocks.h.
   static void* operator new(size_t size);
   static void operator delete(void* memory) noexcept;

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   Bridging::VlanId vlanId_;
   RouterIntfSet routerIntf_;
   GroupMap group_;
};

} // namespace Irb::Multicast::Gmp
