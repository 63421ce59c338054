#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/inputs/HashPositions.h"
#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "vxlan/VtiStatus.h"
#include "zin/Hash.h"
#include "zin/Optional.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// The VRFs that a tunnel interface maps to each VLAN, so that an event of one VLAN need
// not walk the whole map. Values that are no VLAN are not kept: nothing asks for them.
//
// Most VLANs have one VRF, whose name is kept. Of several only the places in the map
// are: four bytes each, since the map has their names. Event thread only.
class MCASTVPNLIB_EXPORT VlanVrfIndex {
 public:
   using Map = Vxlan::VtiStatus::VrfToSBDVlanMap;

   // Of the map, which outlives this.
   explicit VlanVrfIndex(Map const& map) noexcept : map_(map) {}

   void add(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf);
   void del(Bridging::VlanIdOrNone vlanId, L3::VrfName const& vrf);
   // How many VLANs have VRFs.
   size_t vlans() const noexcept { return vlans_; }
   // How many VRFs the VLAN has; none if it is no VLAN.
   size_t vrfs(Bridging::VlanIdOrNone vlanId) const noexcept {
      auto const& page = pages_[vlanId.value() / kPage % kPages];
      return page && isVlan(vlanId) ? (*page)[vlanId.value() % kPage].count : 0;
   }
   // Whether the map has the order that this was made in.
   bool isInOrder() const noexcept;

   // Whether the VLAN has this VRF and never had another beside it.
   bool isOnly(Bridging::VlanId vlanId, Zin::Optional<L3::VrfName> const& vrf) const {
      auto const& page = pages_[vlanId.value() / kPage];
      if (!page || !vrf) {
         return false;
      }
      auto const& vrfs = (*page)[vlanId.value() % kPage];
      return vrfs.count == 1 && vrfs.positions.empty() && vrfs.only == *vrf;
   }
   // The VLAN's first VRF, or the first behind the given one, which need not be there
   // any more, in the order in which a walk of the map meets them. Requires that the
   // index says what the map does.
   Zin::Optional<L3::VrfName>
   vrfAfter(Bridging::VlanId vlanId, Zin::Optional<L3::VrfName> const& last = {}) const;

 private:
   struct Vrfs {
      size_t count = 0;
      L3::VrfName only;        // while there has been only one
      HashPositions positions; // of all, once there were two
   };

   static constexpr size_t kPage = 16;
   static constexpr size_t kPages = 256;

   using Page = std::array<Vrfs, kPage>;

   static bool isVlan(Bridging::VlanIdOrNone vlanId) noexcept {
      return vlanId.value() >= Bridging::VlanId::kMin &&
             vlanId.value() <= Bridging::VlanId::kMax;
   }
   Vrfs& vrfsIs(Bridging::VlanIdOrNone vlanId);
   uint32_t position(L3::VrfName const& vrf) const;
   bool isBehind(L3::VrfName const& vrf, Zin::Optional<L3::VrfName> const& last) const;

   Map const& map_;
   Zin::HashSeed seed_{0}; // of the map, since there was anything here
   size_t count_ = 0;
   size_t vlans_ = 0;
   std::array<std::unique_ptr<Page>, kPages> pages_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
