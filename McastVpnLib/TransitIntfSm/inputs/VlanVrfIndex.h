#pragma once

#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "vxlan/VtiStatus.h"
#include "zin/HashMap2018.h"

#include <array>
#include <cstdint>
#include <memory>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// The VRFs that a tunnel interface maps to each VLAN, so that an event of one VLAN need
// not walk the whole map. Values that are no VLAN are not kept: nothing asks for them.
//
// A VLAN's VRFs are walked in the same order in which a walk of vrfToSBDVlan meets
// them. A set stays where it is as long as the index lives, since a walk may stand on
// it while VRFs come and go. Event thread only.
class VlanVrfIndex {
 public:
   // The order of a collection follows from its seed and its keys alone.
   struct VrfsName {
      static constexpr char const* name = "vlanVrfs";
      static constexpr uint32_t seed = Vxlan::VtiStatus::VrfToSBDVlanTag::seed;
   };
   using Vrfs = Zin::HashMap2018<VrfsName, L3::VrfName>;

   void add(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf);
   void del(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf);
   // The VLAN's VRFs; null if it never had any.
   Vrfs const* vrfs(Bridging::VlanId vlanId) const noexcept;

 private:
   static constexpr size_t kPage = 64;
   static constexpr size_t kPages = 64;

   using Page = std::array<std::unique_ptr<Vrfs>, kPage>;

   static bool isVlan(Bridging::VlanIdOrNone vlanId) noexcept {
      return vlanId.value() >= Bridging::VlanId::kMin &&
             vlanId.value() <= Bridging::VlanId::kMax;
   }

   std::array<std::unique_ptr<Page>, kPages> pages_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
