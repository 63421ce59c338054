#include "McastVpnLib/TransitIntfSm/inputs/PegVlanStatusSm4.h"

#include "McastVpnLib/TransitIntfSm/inputs/InputScanImpl.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "pelk/Fmtrace.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

PegVlanStatusSm4::PegVlanStatusSm4(
   Pelk::Ptr<Routing::Multicast::PegVlanStatus const> en)
   : InputSm(std::move(en), this), scan4_(this) {}

PegVlanStatusSm4::~PegVlanStatusSm4() = default;

Pelk::TraceHandler const& InputScan4::handler() {
   return TransitIntfTrace::pegVlanStatusSm4;
}

bool InputScan4::isRepetition(Machine const& machine) {
   return !handler().enabled(TransitIntfTrace::kEvent) &&
          machine.root()->initialScanDone() && machine.root()->isRepetition();
}

void InputScan4::versionStore(Machine& machine) {
   machine.versionPegVlan_ = machine.en()->pegVlan().version();
}

Routing::Multicast::PegVlanStatus::PegVlanMap const&
InputScan4::collection(Machine const& machine) {
   return machine.en()->pegVlan();
}

bool InputScan4::item(Machine& machine, Bookmark const& vlanId,
                      Routing::Multicast::PegVlan const& pegVlan) {
   machine.handlePegVlan4(vlanId, pegVlan);
   return true;
}

void PegVlanStatusSm4::doInputScan() {
   if (initialized()) {
      ScanTrace::restart(InputScan4::handler());
      scan4_.restart();
   }
}

void PegVlanStatusSm4::enDispatch(Pelk::Publisher*, Pelk::Subscriber*,
                                  int16_t attributeId, void const* key,
                                  void const*) noexcept {
   if (attributeId == Routing::Multicast::PegVlanStatus::kPegVlan && isActive()) {
      handlePegVlan4Reactor(*static_cast<Bridging::VlanId const*>(key));
   }
}

void PegVlanStatusSm4::handlePegVlan4Reactor(Bridging::VlanId vlanId) {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   handlePegVlan4(vlanId);
}

void PegVlanStatusSm4::handlePegVlan4(Bridging::VlanId vlanId) {
   Zin::Optional<Routing::Multicast::PegVlan> present;
   auto const& pegVlan = en()->pegVlan();
   if (auto const* const member = pegVlan.find(vlanId)) {
      present = member->value();
   }
   handlePegVlan4(vlanId, present,
                  KnownInputs::pegVlan(pegVlan.version(), present.has_value()));
}

void PegVlanStatusSm4::handlePegVlan4(
   Bridging::VlanId vlanId, Zin::Optional<Routing::Multicast::PegVlan> const& present,
   KnownInputs known) {
   if (!initialized()) {
      return;
   }
   PELK_FMTRACE(InputScan4::handler(), TransitIntfTrace::kEvent,
                TransitIntfTrace::kFile, "k: {}", ::FlumaCode::flumaPrint(vlanId));
   InputScan4::versionStore(*this);
   root()->eventToPegVlanStream(vlanId, present, known);
}

void PegVlanStatusSm4::doDeleteAll() {
   ScanTrace::entry(InputScan4::handler(), __func__);
   auto const& pegVlan = en()->pegVlan();
   assertNothingMissed(*root(), versionPegVlan_, pegVlan.version(), "pegVlan");
   if (!isActive()) {
      return;
   }
   for (auto member = pegVlan.iterate(); member; ++member) {
      auto const vlanId = member.key();
      root()->eventToPegVlanStream(vlanId, {});
   }
}

template class InputScan<InputScan4>;

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
