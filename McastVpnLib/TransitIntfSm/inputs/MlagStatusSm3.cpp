#include "McastVpnLib/TransitIntfSm/inputs/MlagStatusSm3.h"

#include "McastVpnLib/TransitIntfSm/inputs/InputScanImpl.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

MlagStatusSm3::MlagStatusSm3(Pelk::Ptr<Mlag::Status const> en)
   : InputSm(std::move(en), this), scan2_(this) {}

MlagStatusSm3::~MlagStatusSm3() = default;

Pelk::TraceHandler const& InputScan2::handler() {
   return TransitIntfTrace::mlagStatusSm3;
}

void InputScan2::single(Machine& machine) {
   machine.handleMlagState2();
}

void MlagStatusSm3::doInputScan() {
   if (initialized()) {
      ScanTrace::restart(InputScan2::handler());
      scan2_.restart();
   }
}

void MlagStatusSm3::enDispatch(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                               void const*, void const*) noexcept {
   if (attributeId == Mlag::Status::kMlagState && isActive()) {
      Pelk::Ptr const guard(root());
      handleMlagState2Reactor();
   }
}

void MlagStatusSm3::handleMlagState2Reactor() {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   handleMlagState2();
}

void MlagStatusSm3::handleMlagState2() {
   if (initialized()) {
      root()->eventToMlagStream(en()->mlagState());
   }
}

void MlagStatusSm3::doDeleteAll() {
   ScanTrace::entry(InputScan2::handler(), __func__);
   if (isActive()) {
      root()->eventToMlagStream(en()->mlagState());
   }
}

template class InputScan<InputScan2>;

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
