#include "McastVpnLib/TransitIntfSm/InputSmScanState.h"

#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

namespace {

using State = InputSmScanState;

constexpr std::array kAttributes = {
   Zin::valueAttribute<State>(
      "vtiStatusStreamScan", State::kVtiStatusStreamScan,
      [](auto const& state) { return state.vtiStatusStreamScan(); },
      [](auto& state, bool scanned) { state.vtiStatusStreamScanIs(scanned); }),
   Zin::valueAttribute<State>(
      "pegVlanStreamScan", State::kPegVlanStreamScan,
      [](auto const& state) { return state.pegVlanStreamScan(); },
      [](auto& state, bool scanned) { state.pegVlanStreamScanIs(scanned); }),
   Zin::valueAttribute<State>(
      "mlagStreamScan", State::kMlagStreamScan,
      [](auto const& state) { return state.mlagStreamScan(); },
      [](auto& state, bool scanned) { state.mlagStreamScanIs(scanned); }),
   Zin::valueAttribute<State>(
      "vtepAddrChangeStreamScan", State::kVtepAddrChangeStreamScan,
      [](auto const& state) { return state.vtepAddrChangeStreamScan(); },
      [](auto& state, bool scanned) { state.vtepAddrChangeStreamScanIs(scanned); }),
   Zin::valueAttribute<State>(
      "transitCfgStreamScan", State::kTransitCfgStreamScan,
      [](auto const& state) { return state.transitCfgStreamScan(); },
      [](auto& state, bool scanned) { state.transitCfgStreamScanIs(scanned); }),
   Zin::valueAttribute<State>(
      "idle", State::kIdle, [](auto const& state) { return state.idle(); },
      [](auto& state, bool idle) { state.idleIs(idle); }),
};
constexpr Zin::EntityType kType{
   "Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::InputSmScanState", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

void InputSmScanState::vtiStatusStreamScanIs(bool scanned) {
   Zin::attributeIs(*this, kVtiStatusStreamScan, vtiStatusStreamScan_, scanned);
}

void InputSmScanState::pegVlanStreamScanIs(bool scanned) {
   Zin::attributeIs(*this, kPegVlanStreamScan, pegVlanStreamScan_, scanned);
}

void InputSmScanState::mlagStreamScanIs(bool scanned) {
   Zin::attributeIs(*this, kMlagStreamScan, mlagStreamScan_, scanned);
}

void InputSmScanState::vtepAddrChangeStreamScanIs(bool scanned) {
   Zin::attributeIs(*this, kVtepAddrChangeStreamScan, vtepAddrChangeStreamScan_,
                    scanned);
}

void InputSmScanState::transitCfgStreamScanIs(bool scanned) {
   Zin::attributeIs(*this, kTransitCfgStreamScan, transitCfgStreamScan_, scanned);
}

void InputSmScanState::idleIs(bool idle) {
   Zin::attributeIs(*this, kIdle, idle_, idle);
}

void InputSmScanState::republish() {
   Pelk::Ptr const self(this);
   auto const announce = [this](int16_t id, bool scanned) {
      if (scanned) {
         publishChangeRecursive(id, nullptr, &scanned);
      }
   };
   announce(kVtiStatusStreamScan, vtiStatusStreamScan_);
   announce(kPegVlanStreamScan, pegVlanStreamScan_);
   announce(kMlagStreamScan, mlagStreamScan_);
   announce(kVtepAddrChangeStreamScan, vtepAddrChangeStreamScan_);
   announce(kTransitCfgStreamScan, transitCfgStreamScan_);
}

Zin::EntityType const& InputSmScanState::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
