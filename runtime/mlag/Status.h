#pragma once

#include "mlag/MlagState.h"
#include "pelk/Entity.h"
#include "pelk/Export.h"

namespace Mlag {

// The status of the MLAG peering, which the MLAG agent publishes. Event thread only.
class PELK_EXPORT Status final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kMlagState = 258;

   // The state as the MLAG agent last gave it.
   MlagState mlagState() const noexcept { return mlagState_; }
   // Announces kMlagState if the state changes.
   void mlagStateIs(MlagState state);

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   MlagState mlagState_ = MlagState::disabled;
};

} // namespace Mlag
