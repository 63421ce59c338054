#pragma once

#include "McastVpnLib/Export.h"
#include "l3/VrfName.h"
#include "pelk/Entity.h"
#include "pelk/Ptr.h"
#include "zin/HashMap2018.h"
#include "zin/ValueTraits.h"

#include <cstddef>
#include <cstdint>

namespace Irb::Multicast::Evpn {

// The VRFs that use one SBD VLAN, as the pipeline has seen them: a group of the
// dataflow machine's group-by, where it is TransitIntfSm::GroupByCollectionValueType0.
// Event thread only.
class MCASTVPNLIB_EXPORT GroupByCollection final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kColl = 258;

   struct CollName {
      static constexpr char const* name = "coll";
      static constexpr uint32_t seed = 0x84c1f60d;
      static constexpr bool firstInline = true;
   };
   using VrfSet = Zin::HashMap2018<CollName, L3::VrfName, Zin::Unit>;

   // The VRFs of the group; one alone makes the VLAN a transit VLAN.
   VrfSet const& coll() const noexcept { return coll_; }
   bool collHas(L3::VrfName const& vrf) const { return coll_.contains(vrf); }
   // Each announces kColl with the VRF as key, if the set changes.
   void collIs(L3::VrfName const& vrf);
   void collDel(L3::VrfName const& vrf);
   void collDelAll();
   // Makes room for that many VRFs. Not a change.
   void collReserve(size_t vrfs) { coll_.reserve(vrfs); }

   // Made of spare memory; see pelk/SpareBlocks.h.
   static void* operator new(size_t size);
   static void operator delete(void* memory) noexcept;

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   VrfSet coll_;
};

struct GroupByAttr0Name {
   static constexpr char const* name = "groupByAttr0";
   static constexpr uint32_t seed = 0x3db7029b;
};
// By the number of the SBD VLAN, which need not be that of a VLAN.
using GroupByMap =
   Zin::HashMap2018<GroupByAttr0Name, uint16_t, Pelk::Ptr<GroupByCollection>>;

} // namespace Irb::Multicast::Evpn
