#pragma once

#include "l3/VrfName.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "zin/HashMap2018.h"

namespace Routing::Multicast::Evpn {

// The EVPN multicast configuration: which VRFs are transit VRFs. Event thread only.
class PELK_EXPORT Config final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kTransitVrf = 258;

   struct TransitVrfTag {
      static constexpr char const* name = "transitVrf";
      static constexpr uint32_t seed = 0x5c1e93b7;
   };
   using TransitVrfSet = Zin::HashMap2018<TransitVrfTag, L3::VrfName, Zin::Unit>;

   // The VRFs that are configured as transit VRFs.
   TransitVrfSet const& transitVrf() const noexcept { return transitVrf_; }
   bool transitVrfHas(L3::VrfName const& vrf) const {
      return transitVrf_.contains(vrf);
   }
   // Each announces kTransitVrf with the VRF as key, if the set changes.
   void transitVrfIs(L3::VrfName const& vrf);
   void transitVrfDel(L3::VrfName const& vrf);
   void transitVrfDelAll();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   TransitVrfSet transitVrf_;
};

} // namespace Routing::Multicast::Evpn
