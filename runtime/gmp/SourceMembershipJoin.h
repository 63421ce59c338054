#pragma once

#include "dorf/DorfValueMap.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"

#include <cstddef>

namespace Irb::Multicast::Gmp {

// The joins of one source of a group on a VLAN: the interfaces that want the source
// and those that do not. Made by its group. Event thread only.
class PELK_EXPORT SourceMembershipJoin final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kSource = 258;
   static constexpr int16_t kIncludeIntf = 259;
   static constexpr int16_t kExcludeIntf = 260;

   struct IncludeIntfTag {
      static constexpr char const* name = "includeIntf";
      static constexpr uint32_t seed = 0x6d21c9e5;
      static constexpr bool firstInline = true;
   };
   struct ExcludeIntfTag {
      static constexpr char const* name = "excludeIntf";
      static constexpr uint32_t seed = 0xb88f0a47;
      static constexpr bool firstInline = true;
   };
   using IncludeIntfSet = Dorf::DorfValueMap<IncludeIntfTag, Lidra::IntfId>;
   using ExcludeIntfSet = Dorf::DorfValueMap<ExcludeIntfTag, Lidra::IntfId>;

   explicit SourceMembershipJoin(Lidra::IpGenAddr const& source) noexcept
      : source_(source) {}

   // The source address; fixed.
   Lidra::IpGenAddr const& source() const noexcept { return source_; }

   // The interfaces that want the source.
   IncludeIntfSet const& includeIntf() const noexcept { return includeIntf_; }
   // The interfaces that do not want the source.
   ExcludeIntfSet const& excludeIntf() const noexcept { return excludeIntf_; }
   // Each announces its set with the interface as key, if the set changes.
   void includeIntfIs(Lidra::IntfId intfId);
   void includeIntfDel(Lidra::IntfId intfId);
   void includeIntfDelAll();
   void excludeIntfIs(Lidra::IntfId intfId);
   void excludeIntfDel(Lidra::IntfId intfId);
   void excludeIntfDelAll();

   // Made of spare memory; see pelk/SpareBlocks.h.
   static void* operator new(size_t size);
   static void operator delete(void* memory) noexcept;

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   Lidra::IpGenAddr source_;
   IncludeIntfSet includeIntf_;
   ExcludeIntfSet excludeIntf_;
};

} // namespace Irb::Multicast::Gmp
