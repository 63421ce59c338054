#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/McastVpnTransitSm/TransitIntf.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "pelk/Entity.h"
#include "pelk/Ptr.h"
#include "zin/HashMap2018.h"

#include <cstddef>

namespace Irb::Multicast::Evpn {

// The transit interfaces that a machine publishes. The caller of the machine owns the
// collection, which outlives the machine. Event thread only.
class MCASTVPNLIB_EXPORT TransitIntfColl final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kIntf = 258;

   // The seed constant is frozen: reconciliation looks its bookmark up with it.
   struct IntfTag {
      static constexpr char const* name = "intf";
      static constexpr uint32_t seed = 0x8a27926d;
   };
   using IntfMap = Zin::HashMap2018<IntfTag, Lidra::IntfId, Pelk::Ptr<TransitIntf>>;

   // Makes an empty collection; transitIntfCollFactory() is the same.
   static Pelk::Ptr<TransitIntfColl> TransitIntfCollIs();

   // Every transit interface, by its name.
   IntfMap const& intf() const noexcept { return intf_; }
   // The element, or null.
   Pelk::Ptr<TransitIntf> intf(Lidra::IntfId intfId) const;
   // Gives the present element the address (which announces the element's change, if
   // it is one, and nothing here), or makes one and announces kIntf with the interface
   // as key. Returns the element.
   Pelk::Ptr<TransitIntf> intfIs(Lidra::IntfId intfId, Lidra::IpGenAddr const& ipAddr);
   // Removes the element, announces kIntf with the interface as key, and returns it;
   // null, and no announcement, if there is none.
   Pelk::Ptr<TransitIntf> intfDel(Lidra::IntfId intfId);
   // Removes every element, with one announcement each.
   void intfDelAll();
   // Makes room for that many elements. Not a change.
   void intfReserve(size_t count) { intf_.reserve(count); }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   IntfMap intf_;
};

} // namespace Irb::Multicast::Evpn
