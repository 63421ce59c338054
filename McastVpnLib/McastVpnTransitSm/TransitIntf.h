#pragma once

#include "McastVpnLib/Export.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "pelk/Entity.h"

#include <cstddef>

namespace Irb::Multicast::Evpn {

// One transit interface: the routed VLAN interface that carries the transit traffic of
// an SBD VLAN, and the VTEP address that multicast is sourced from there. Belongs to a
// TransitIntfColl. Event thread only.
class MCASTVPNLIB_EXPORT TransitIntf final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kIntfId = 258;
   static constexpr int16_t kIpAddr = 259;

   // Announces nothing.
   TransitIntf(Lidra::IntfId intfId, Lidra::IpGenAddr const& ipAddr) noexcept
      : intfId_(intfId), ipAddr_(ipAddr) {}

   // The VLAN interface; fixed.
   Lidra::IntfId intfId() const noexcept { return intfId_; }

   // The VTEP address that multicast is sourced from.
   Lidra::IpGenAddr const& ipAddr() const noexcept { return ipAddr_; }
   // Announces kIpAddr, once, if the address changes.
   void ipAddrIs(Lidra::IpGenAddr const& ipAddr);

   // Made of spare memory; see pelk/SpareBlocks.h.
   static void* operator new(size_t size);
   static void operator delete(void* memory) noexcept;

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   Lidra::IntfId intfId_;
   Lidra::IpGenAddr ipAddr_;
};

} // namespace Irb::Multicast::Evpn
