#include "McastVpnLib/TransitIntfSm/inputs/McastEvpnConfigSm0.h"

#include "McastVpnLib/TransitIntfSm/inputs/InputScanImpl.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "pelk/Fmtrace.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

McastEvpnConfigSm0::McastEvpnConfigSm0(
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> en)
   : InputSm(std::move(en), this), scan0_(this) {}

McastEvpnConfigSm0::~McastEvpnConfigSm0() = default;

Pelk::TraceHandler const& InputScan0::handler() {
   return TransitIntfTrace::mcastEvpnConfigSm0;
}

bool InputScan0::isRepetition(Machine const& machine) {
   return !handler().enabled(TransitIntfTrace::kEvent) &&
          machine.root()->initialScanDone() && machine.root()->isRepetition();
}

void InputScan0::versionStore(Machine& machine) {
   machine.versionTransitVrf_ = machine.en()->transitVrf().version();
}

Routing::Multicast::Evpn::Config::TransitVrfSet const&
InputScan0::collection(Machine const& machine) {
   return machine.en()->transitVrf();
}

bool InputScan0::item(Machine& machine, Bookmark const& vrf, Zin::Unit) {
   machine.handleTransitVrf0(vrf, ::FlumaCode::Unit());
   return true;
}

void McastEvpnConfigSm0::doInputScan() {
   if (initialized()) {
      ScanTrace::restart(InputScan0::handler());
      scan0_.restart();
   }
}

void McastEvpnConfigSm0::enDispatch(Pelk::Publisher*, Pelk::Subscriber*,
                                    int16_t attributeId, void const* key,
                                    void const*) noexcept {
   if (attributeId == Routing::Multicast::Evpn::Config::kTransitVrf && isActive()) {
      handleTransitVrf0Reactor(*static_cast<L3::VrfName const*>(key));
   }
}

void McastEvpnConfigSm0::handleTransitVrf0Reactor(L3::VrfName const& vrf) {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   handleTransitVrf0(vrf);
}

void McastEvpnConfigSm0::handleTransitVrf0(L3::VrfName const& vrf) {
   Zin::Optional<::FlumaCode::Unit> present;
   auto const& transitVrf = en()->transitVrf();
   if (transitVrf.contains(vrf)) {
      present.emplace();
   }
   handleTransitVrf0(
      vrf, present, KnownInputs::transitVrf(transitVrf.version(), present.has_value()));
}

void McastEvpnConfigSm0::handleTransitVrf0(
   L3::VrfName const& vrf, Zin::Optional<::FlumaCode::Unit> const& present,
   KnownInputs known) {
   if (!initialized()) {
      return;
   }
   PELK_FMTRACE(InputScan0::handler(), TransitIntfTrace::kEvent,
                TransitIntfTrace::kFile, "k: {}", ::FlumaCode::flumaPrint(vrf));
   InputScan0::versionStore(*this);
   root()->eventToTransitCfgStream(vrf, present, known);
}

void McastEvpnConfigSm0::doDeleteAll() {
   ScanTrace::entry(InputScan0::handler(), __func__);
   auto const& transitVrf = en()->transitVrf();
   assertNothingMissed(*root(), versionTransitVrf_, transitVrf.version(), "transitVrf");
   if (!isActive()) {
      return;
   }
   for (auto member = transitVrf.iterate(); member; ++member) {
      auto const vrf = member.key();
      root()->eventToTransitCfgStream(vrf, {});
   }
}

template class InputScan<InputScan0>;

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
