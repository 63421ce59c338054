#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/McastEvpnConfigSm0.h"
#include "McastVpnLib/TransitIntfSm/inputs/MlagStatusSm3.h"
#include "McastVpnLib/TransitIntfSm/inputs/PegVlanStatusSm4.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "zin/AttributeMakers.h"
#include "zin/NumberTraits.h"

#include <array>

// The input machines' attributes, by name. They show how far a scan is; writing them is
// the machines' own business.
namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

namespace {

using Vorn::Gen::InputStateMachine;

constexpr int16_t own(int16_t number) {
   return static_cast<int16_t>(InputStateMachine::kFirstOwn + number);
}

template <typename Sm, typename Get>
constexpr Zin::Attribute shown(std::string_view name, int16_t id, Get get) {
   return Zin::valueAttribute<Sm>(name, id, get, Zin::Fixed{});
}

// What all of them have, and then their own.
template <typename Sm, typename... Own>
constexpr auto attributesOf(Own const&... rows) {
   return std::array{
      Zin::pointerAttribute<Sm>("en", InputStateMachine::kEn,
                                [](auto const& sm) -> auto& { return sm.en(); }),
      Zin::pointerAttribute<Sm>("parent", InputStateMachine::kParent,
                                [](auto const& sm) { return sm.parent(); }),
      shown<Sm>("initialized", InputStateMachine::kInitialized,
                [](auto const& sm) { return sm.initialized(); }),
      shown<Sm>("inReactor", InputStateMachine::kInReactor,
                [](auto const& sm) { return sm.inReactor(); }),
      rows...,
   };
}

using Config0 = McastEvpnConfigSm0;
constexpr auto kConfig0 = attributesOf<Config0>(
   shown<Config0>("inputScanBookmark0", own(0),
                  [](auto const& sm) { return sm.inputScanBookmark0(); }),
   shown<Config0>("inputScanState0", own(1),
                  [](auto const& sm) { return sm.inputScanState0(); }),
   shown<Config0>("versionTransitVrf", own(2),
                  [](auto const& sm) { return sm.versionTransitVrf(); }));

using Dir1 = VtiStatusDirSm1;
constexpr auto kDir1 = attributesOf<Dir1>(
   shown<Dir1>("inputScanBookmark1", own(0),
               [](auto const& sm) { return sm.inputScanBookmark1(); }),
   shown<Dir1>("inputScanState1", own(1),
               [](auto const& sm) { return sm.inputScanState1(); }),
   shown<Dir1>("inputScanBookmark3", own(2),
               [](auto const& sm) { return sm.inputScanBookmark3(); }),
   shown<Dir1>("inputScanState3", own(3),
               [](auto const& sm) { return sm.inputScanState3(); }),
   Zin::shownChildrenAttribute<Dir1, VtiStatusSm2>(
      "childSmVtiStatusVxlanVtiStatusPtrConst", own(4), [](auto const& sm) -> auto& {
         return sm.childSmVtiStatusVxlanVtiStatusPtrConst();
      }));

using Status2 = VtiStatusSm2;
constexpr auto kStatus2 = attributesOf<Status2>(
   shown<Status2>("inputScanState1", own(0),
                  [](auto const& sm) { return sm.inputScanState1(); }),
   shown<Status2>("inputScanBookmark3", own(1),
                  [](auto const& sm) { return sm.inputScanBookmark3(); }),
   shown<Status2>("inputScanState3", own(2),
                  [](auto const& sm) { return sm.inputScanState3(); }),
   shown<Status2>("versionVrfToSBDVlan", own(3),
                  [](auto const& sm) { return sm.versionVrfToSBDVlan(); }));

using Mlag3 = MlagStatusSm3;
constexpr auto kMlag3 = attributesOf<Mlag3>(shown<Mlag3>(
   "inputScanState2", own(0), [](auto const& sm) { return sm.inputScanState2(); }));

using Peg4 = PegVlanStatusSm4;
constexpr auto kPeg4 = attributesOf<Peg4>(
   shown<Peg4>("inputScanBookmark4", own(0),
               [](auto const& sm) { return sm.inputScanBookmark4(); }),
   shown<Peg4>("inputScanState4", own(1),
               [](auto const& sm) { return sm.inputScanState4(); }),
   shown<Peg4>("versionPegVlan", own(2),
               [](auto const& sm) { return sm.versionPegVlan(); }));

constexpr Zin::EntityType kConfig0Type{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::McastEvpnConfigSm0", kConfig0};
constexpr Zin::EntityType kDir1Type{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::VtiStatusDirSm1", kDir1};
constexpr Zin::EntityType kStatus2Type{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::VtiStatusSm2", kStatus2};
constexpr Zin::EntityType kMlag3Type{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::MlagStatusSm3", kMlag3};
constexpr Zin::EntityType kPeg4Type{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::PegVlanStatusSm4", kPeg4};

Zin::TypeRegistration<Zin::EntityType> const registrations[] = {
   Zin::TypeRegistration(kConfig0Type), Zin::TypeRegistration(kDir1Type),
   Zin::TypeRegistration(kStatus2Type), Zin::TypeRegistration(kMlag3Type),
   Zin::TypeRegistration(kPeg4Type),
};

} // namespace

Zin::EntityType const& McastEvpnConfigSm0::type() noexcept {
   return kConfig0Type;
}

Zin::EntityType const& VtiStatusDirSm1::type() noexcept {
   return kDir1Type;
}

Zin::EntityType const& VtiStatusSm2::type() noexcept {
   return kStatus2Type;
}

Zin::EntityType const& MlagStatusSm3::type() noexcept {
   return kMlag3Type;
}

Zin::EntityType const& PegVlanStatusSm4::type() noexcept {
   return kPeg4Type;
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
