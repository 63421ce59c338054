#pragma once

#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "lidra/IpAddr.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "zin/HashMap2018.h"

namespace Vxlan {

// The status of one VXLAN tunnel interface. Event thread only.
class PELK_EXPORT VtiStatus final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kIntfId = 258;
   static constexpr int16_t kLocalVtepAddr = 259;
   static constexpr int16_t kMlagVtepAddr = 260;
   static constexpr int16_t kVrfToSBDVlan = 261;

   struct VrfToSBDVlanTag {
      static constexpr char const* name = "vrfToSBDVlan";
      static constexpr uint32_t seed = 0x9b3ac5f1;
   };
   using VrfToSBDVlanMap =
      Zin::HashMap2018<VrfToSBDVlanTag, L3::VrfName, Bridging::VlanIdOrNone>;

   explicit VtiStatus(Lidra::IntfId intfId) noexcept : intfId_(intfId) {}

   // The interface; fixed.
   Lidra::IntfId intfId() const noexcept { return intfId_; }

   // This switch's own VTEP address.
   Lidra::IpAddr localVtepAddr() const noexcept { return localVtepAddr_; }
   // Announces kLocalVtepAddr if the address changes.
   void localVtepAddrIs(Lidra::IpAddr addr);

   // The VTEP address that an MLAG pair shares.
   Lidra::IpAddr mlagVtepAddr() const noexcept { return mlagVtepAddr_; }
   // Announces kMlagVtepAddr if the address changes.
   void mlagVtepAddrIs(Lidra::IpAddr addr);

   // The SBD VLAN of each VRF.
   VrfToSBDVlanMap const& vrfToSBDVlan() const noexcept { return vrfToSBDVlan_; }
   // The SBD VLAN of the VRF, none if it has no entry.
   Bridging::VlanIdOrNone vrfToSBDVlan(L3::VrfName const& vrf) const {
      auto const* entry = vrfToSBDVlan_.find(vrf);
      return entry != nullptr ? entry->value() : Bridging::VlanIdOrNone();
   }
   // Announces kVrfToSBDVlan with the VRF as key, also if the VLAN stays the same.
   void vrfToSBDVlanIs(L3::VrfName const& vrf, Bridging::VlanIdOrNone vlanId);
   // Announces kVrfToSBDVlan with the VRF as key if there was an entry.
   void vrfToSBDVlanDel(L3::VrfName const& vrf);
   void vrfToSBDVlanDelAll();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   Lidra::IntfId intfId_;
   Lidra::IpAddr localVtepAddr_;
   Lidra::IpAddr mlagVtepAddr_;
   VrfToSBDVlanMap vrfToSBDVlan_;
};

} // namespace Vxlan
