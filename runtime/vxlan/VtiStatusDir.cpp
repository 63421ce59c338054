#include "vxlan/VtiStatusDir.h"

#include "pelk/Assert.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Vxlan {

namespace {

constexpr std::array kAttributes = {
   Zin::adoptedChildrenAttribute<VtiStatusDir, VtiStatus>(
      "vtiStatus", VtiStatusDir::kVtiStatus,
      [](auto const& dir) -> auto& { return dir.vtiStatus(); },
      [](auto& dir, Pelk::Ptr<VtiStatus> const& status) { dir.vtiStatusIs(status); },
      [](auto& dir, Lidra::IntfId intfId) { dir.vtiStatusDel(intfId); }),
};
constexpr Zin::EntityType kType{"Vxlan::VtiStatusDir", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void VtiStatusDir::vtiStatusIs(Pelk::Ptr<VtiStatus> const& status) {
   PELK_ASSERT(status, "A VtiStatus cannot be null");
   auto const intfId = status->intfId();
   // A callback may drop the caller's use, and the others are shown the status too.
   Pelk::Ptr<Pelk::Entity const> const announced = status;
   vtiStatus_.assign(intfId, status);
   publishChangeRecursive(kVtiStatus, &intfId, announced.get());
}

void VtiStatusDir::vtiStatusDel(Lidra::IntfId intfId) {
   Zin::memberDel(*this, kVtiStatus, vtiStatus_, intfId);
}

void VtiStatusDir::vtiStatusDelAll() {
   Zin::memberDelAll(*this, kVtiStatus, vtiStatus_);
}

Zin::EntityType const& VtiStatusDir::type() noexcept {
   return kType;
}

} // namespace Vxlan
