#pragma once

#include "lidra/IntfId.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "vxlan/VtiStatus.h"
#include "zin/HashMap2018.h"

namespace Vxlan {

// The statuses of all VXLAN tunnel interfaces. Event thread only.
class PELK_EXPORT VtiStatusDir final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kVtiStatus = 258;

   struct VtiStatusTag {
      static constexpr char const* name = "vtiStatus";
      static constexpr uint32_t seed = 0x3e64a82d;
   };
   using VtiStatusMap =
      Zin::HashMap2018<VtiStatusTag, Lidra::IntfId, Pelk::Ptr<VtiStatus>>;

   // The status of each tunnel interface; the machines look at "Vxlan1".
   VtiStatusMap const& vtiStatus() const noexcept { return vtiStatus_; }
   // The status of the interface, or null.
   Pelk::Ptr<VtiStatus> vtiStatus(Lidra::IntfId intfId) const {
      auto const* entry = vtiStatus_.find(intfId);
      return entry != nullptr ? entry->value() : nullptr;
   }
   // Puts the status under its interface, in the place of another if there is one, and
   // announces kVtiStatus with the interface as key. Null is a fatal assertion.
   void vtiStatusIs(Pelk::Ptr<VtiStatus> const& status);
   // Announces kVtiStatus with the interface as key if there was a status.
   void vtiStatusDel(Lidra::IntfId intfId);
   void vtiStatusDelAll();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   VtiStatusMap vtiStatus_;
};

} // namespace Vxlan
