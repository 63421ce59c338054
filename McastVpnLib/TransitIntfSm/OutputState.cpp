#include "McastVpnLib/TransitIntfSm/OutputState.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

namespace {

constexpr std::array kAttributes = {
   Zin::valueAttribute<OutputState>(
      "membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady",
      OutputState::kMembershipJoinStatusVlanGroupSourceIncludeIntfOutputReady,
      [](auto const& state) {
         return state.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady();
      },
      [](auto& state, bool ready) {
         state.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReadyIs(ready);
      }),
   Zin::valueAttribute<OutputState>(
      "membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady",
      OutputState::kMembershipJoinStatusVlanGroupSourceExcludeIntfOutputReady,
      [](auto const& state) {
         return state.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady();
      },
      [](auto& state, bool ready) {
         state.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReadyIs(ready);
      }),
   Zin::valueAttribute<OutputState>(
      "transitIntfCollIntfOutputReady", OutputState::kTransitIntfCollIntfOutputReady,
      [](auto const& state) { return state.transitIntfCollIntfOutputReady(); },
      [](auto& state, bool ready) { state.transitIntfCollIntfOutputReadyIs(ready); }),
   Zin::valueAttribute<OutputState>(
      "membershipJoinStatusVlanRouterIntfOutputReady",
      OutputState::kMembershipJoinStatusVlanRouterIntfOutputReady,
      [](auto const& state) {
         return state.membershipJoinStatusVlanRouterIntfOutputReady();
      },
      [](auto& state, bool ready) {
         state.membershipJoinStatusVlanRouterIntfOutputReadyIs(ready);
      }),
   Zin::valueAttribute<OutputState>(
      "ready", OutputState::kReady, [](auto const& state) { return state.ready(); },
      [](auto& state, bool ready) { state.readyIs(ready); }),
};
constexpr Zin::EntityType kType{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::OutputState", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void OutputState::outputReadyIs(int16_t id, bool& flag, bool ready) {
   if (flag == ready) {
      return;
   }
   // Who hears of ready may drop this.
   Pelk::Ptr const self(this);
   flag = ready;
   handleReady();
   publishChangeRecursive(id, nullptr, &ready);
}

void OutputState::membershipJoinStatusVlanGroupSourceIncludeIntfOutputReadyIs(
   bool ready) {
   outputReadyIs(kMembershipJoinStatusVlanGroupSourceIncludeIntfOutputReady,
                 includeReady_, ready);
}

void OutputState::membershipJoinStatusVlanGroupSourceExcludeIntfOutputReadyIs(
   bool ready) {
   outputReadyIs(kMembershipJoinStatusVlanGroupSourceExcludeIntfOutputReady,
                 excludeReady_, ready);
}

void OutputState::transitIntfCollIntfOutputReadyIs(bool ready) {
   outputReadyIs(kTransitIntfCollIntfOutputReady, transitReady_, ready);
}

void OutputState::membershipJoinStatusVlanRouterIntfOutputReadyIs(bool ready) {
   outputReadyIs(kMembershipJoinStatusVlanRouterIntfOutputReady, routerReady_, ready);
}

void OutputState::readyIs(bool ready) {
   Zin::attributeIs(*this, kReady, ready_, ready);
}

void OutputState::handleReady() {
   readyIs(includeReady_ && excludeReady_ && transitReady_ && routerReady_);
}

Zin::EntityType const& OutputState::type() noexcept {
   return kType;
}

Pelk::Ptr<OutputState> outputStateFactory() {
   return Pelk::makePtr<OutputState>();
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
