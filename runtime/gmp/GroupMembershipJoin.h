#pragma once

#include "gmp/SourceMembershipJoin.h"
#include "lidra/IpGenAddr.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "zin/HashMap2018.h"

#include <cstddef>

namespace Irb::Multicast::Gmp {

// The joins of one group on a VLAN, by source. Made by its VLAN. Event thread only.
class PELK_EXPORT GroupMembershipJoin final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kGroup = 258;
   static constexpr int16_t kSource = 259;

   struct SourceTag {
      static constexpr char const* name = "source";
      static constexpr uint32_t seed = 0x47d5306c;
      static constexpr bool firstInline = true;
   };
   using SourceMap =
      Zin::HashMap2018<SourceTag, Lidra::IpGenAddr, Pelk::Ptr<SourceMembershipJoin>>;

   explicit GroupMembershipJoin(Lidra::IpGenAddr const& group) noexcept
      : group_(group) {}

   // The group address; fixed.
   Lidra::IpGenAddr const& group() const noexcept { return group_; }

   // The level below: the group's sources; 0.0.0.0 is any.
   SourceMap const& source() const noexcept { return source_; }
   // The source's joins, or null.
   Pelk::Ptr<SourceMembershipJoin> source(Lidra::IpGenAddr const& source) const;
   // The source's joins; made, empty, and announced under kSource if they are new.
   Pelk::Ptr<SourceMembershipJoin> sourceIs(Lidra::IpGenAddr const& source);
   // Removes the source with everything below it; announced under kSource if it was
   // there. One notification, for the level removed.
   void sourceDel(Lidra::IpGenAddr const& source);
   void sourceDelAll();

   // Made of spare memory; see pelk/SpareBlocks.h.
   static void* operator new(size_t size);
   static void operator delete(void* memory) noexcept;

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   Lidra::IpGenAddr group_;
   SourceMap source_;
};

} // namespace Irb::Multicast::Gmp
