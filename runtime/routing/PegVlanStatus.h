#pragma once

#include "bridging/VlanId.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "quell/QuellMap.h"
#include "zin/HashMap2018.h"

namespace Routing::Multicast {

// One PEG VLAN. Only its presence counts here.
class PegVlan {
 public:
   explicit PegVlan(Bridging::VlanId vlanId) noexcept : vlanId_(vlanId) {}
   // The VLAN; fixed.
   Bridging::VlanId vlanId() const noexcept { return vlanId_; }
   Bridging::VlanId key() const noexcept { return vlanId_; }

 private:
   Bridging::VlanId vlanId_;
};

// The table of PEG VLANs. Event thread only.
class PELK_EXPORT PegVlanStatus final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kPegVlan = 258;

   struct PegVlanTag {
      static constexpr char const* name = "pegVlan";
      static constexpr uint32_t seed = 0x21f0d46b;
   };
   using PegVlanMap = Quell::QuellMap<PegVlanTag, Bridging::VlanId, PegVlan>;

   // Every PEG VLAN, by its number.
   PegVlanMap const& pegVlan() const noexcept { return pegVlan_; }
   bool pegVlanHas(Bridging::VlanId vlanId) const { return pegVlan_.contains(vlanId); }
   // Announces kPegVlan with the VLAN as key if it was not there.
   void pegVlanIs(Bridging::VlanId vlanId);
   // Announces kPegVlan with the VLAN as key if it was there.
   void pegVlanDel(Bridging::VlanId vlanId);
   void pegVlanDelAll();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   PegVlanMap pegVlan_;
};

} // namespace Routing::Multicast
