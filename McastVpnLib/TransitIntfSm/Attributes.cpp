#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/McastEvpnConfigSm0.h"
#include "McastVpnLib/TransitIntfSm/inputs/MlagStatusSm3.h"
#include "McastVpnLib/TransitIntfSm/inputs/PegVlanStatusSm4.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "zin/AttributeMakers.h"
#include "zin/NumberTraits.h"

#include <array>

// The machine's attributes and the types of its keys, by name.

namespace Irb::Multicast::Evpn {

namespace {

using Sm = TransitIntfSm;

constexpr std::array kAttributes = {
   Zin::valueAttribute<Sm>(
      "addressFamily", Sm::kAddressFamily,
      [](auto const& sm) { return sm.addressFamily(); }, Zin::Fixed{}),
   Zin::pointerAttribute<Sm>(
      "mcastEvpnConfig", Sm::kMcastEvpnConfig,
      [](auto const& sm) -> auto& { return sm.mcastEvpnConfig(); }),
   Zin::pointerAttribute<Sm>("vtiStatusDir", Sm::kVtiStatusDir,
                             [](auto const& sm) -> auto& { return sm.vtiStatusDir(); }),
   Zin::pointerAttribute<Sm>("mlagStatus", Sm::kMlagStatus,
                             [](auto const& sm) -> auto& { return sm.mlagStatus(); }),
   Zin::pointerAttribute<Sm>(
      "transitIntfColl", Sm::kTransitIntfColl,
      [](auto const& sm) -> auto& { return sm.transitIntfColl(); }),
   Zin::pointerAttribute<Sm>(
      "membershipJoinStatus", Sm::kMembershipJoinStatus,
      [](auto const& sm) -> auto& { return sm.membershipJoinStatus(); }),
   Zin::pointerAttribute<Sm>(
      "pegVlanStatus", Sm::kPegVlanStatus,
      [](auto const& sm) -> auto& { return sm.pegVlanStatus(); }),
   Zin::valueAttribute<Sm>(
      "initialized", Sm::kInitialized, [](auto const& sm) { return sm.initialized(); },
      Zin::Fixed{}),
   Zin::valueAttribute<Sm>(
      "synchronous", Sm::kSynchronous, [](auto const& sm) { return sm.synchronous(); },
      Zin::Fixed{}),
   Zin::valueAttribute<Sm>(
      "initialScanDone", Sm::kInitialScanDone,
      [](auto const& sm) { return sm.initialScanDone(); }, Zin::Fixed{}),
   Zin::pointerAttribute<Sm>(
      "inputSmScanState", Sm::kInputSmScanState,
      [](auto const& sm) -> auto& { return sm.inputSmScanState(); }),
   Zin::pointerAttribute<Sm>("outputState", Sm::kOutputState,
                             [](auto const& sm) -> auto& { return sm.outputState(); }),
   Zin::childrenAttribute<Sm, GroupByCollection>(
      "groupByAttr0", Sm::kGroupByAttr0,
      [](auto const& sm) -> auto& { return sm.groupByAttr0(); },
      [](auto& sm, uint16_t sbdVlan, Zin::InitialValues const&) {
         auto group = sm.groupByAttr0(sbdVlan);
         if (!group) {
            group = Pelk::makePtr<GroupByCollection>();
            sm.groupByAttr0Is(sbdVlan, group);
         }
         return group;
      },
      [](auto& sm, uint16_t sbdVlan) { sm.groupByAttr0Del(sbdVlan); }),
   Zin::valueAttribute<Sm>(
      "idle", Sm::kIdle, [](auto const& sm) { return sm.idle(); }, Zin::Fixed{}),
   Zin::valueAttribute<Sm>(
      "ready", Sm::kReady, [](auto const& sm) { return sm.ready(); }, Zin::Fixed{}),
   Zin::pointerAttribute<Sm>(
      "mcastEvpnConfigSm0", Sm::kMcastEvpnConfigSm0,
      [](auto const& sm) -> auto& { return sm.mcastEvpnConfigSm0(); }),
   Zin::pointerAttribute<Sm>(
      "vtiStatusDirSm1", Sm::kVtiStatusDirSm1,
      [](auto const& sm) -> auto& { return sm.vtiStatusDirSm1(); }),
   Zin::pointerAttribute<Sm>(
      "mlagStatusSm3", Sm::kMlagStatusSm3,
      [](auto const& sm) -> auto& { return sm.mlagStatusSm3(); }),
   Zin::pointerAttribute<Sm>(
      "pegVlanStatusSm4", Sm::kPegVlanStatusSm4,
      [](auto const& sm) -> auto& { return sm.pegVlanStatusSm4(); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Evpn::TransitIntfSm", kAttributes};
Zin::TypeRegistration const registration(kType);

template <typename... Key>
struct KeyRegistrations {
   Zin::TypeRegistration<Zin::ValueType> all[sizeof...(Key)] = {
      Zin::TypeRegistration(Zin::valueTypeOf<Key>)...};
};
KeyRegistrations<OutputKeys::TransitIntfKey, OutputKeys::RouterIntfKey,
                 OutputKeys::ExcludeIntfKey, OutputKeys::IncludeIntfKey> const
   keyRegistrations;

} // namespace

Zin::EntityType const& TransitIntfSm::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Evpn
