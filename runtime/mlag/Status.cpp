#include "mlag/Status.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Mlag {

namespace {

constexpr std::array kAttributes = {
   Zin::valueAttribute<Status>(
      "mlagState", Status::kMlagState,
      [](auto const& status) { return status.mlagState(); },
      [](auto& status, MlagState state) { status.mlagStateIs(state); }),
};
constexpr Zin::EntityType kType{"Mlag::Status", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void Status::mlagStateIs(MlagState state) {
   Zin::attributeIs(*this, kMlagState, mlagState_, state);
}

Zin::EntityType const& Status::type() noexcept {
   return kType;
}

} // namespace Mlag
