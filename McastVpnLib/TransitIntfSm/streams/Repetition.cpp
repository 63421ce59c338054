#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusSm2.h"

#include <algorithm>

// What the second pass need not do. Each of its five scans evaluates the VLANs of the
// VRFs that it comes to; the one of the mappings comes to every VRF.
namespace Irb::Multicast::Evpn {

namespace {

bool isTraced(Pelk::Ptr<Fennlog::TraceHandle> const& ring) {
   using namespace TransitIntfTrace;
   using Pelk::TraceLevels;
   constexpr auto kLevels = TraceLevels::of(kDecision) | TraceLevels::of(kFilter) |
                            TraceLevels::of(kStream) | TraceLevels::of(kDetail);
   return ring != nullptr || transitIntfSm.levels().hasAny(kLevels);
}

} // namespace

TransitIntfSm::EvaluatedInputs TransitIntfSm::inputsNow() const {
   auto const* const status = vxlanStatus();
   EvaluatedInputs inputs;
   inputs.transitVrf = mcastEvpnConfig_->transitVrf().version();
   inputs.pegVlan = pegVlanStatus_->pegVlan().version();
   inputs.mlagState = mlagStatus_->mlagState();
   inputs.status = status;
   if (status != nullptr) {
      inputs.vrfToSBDVlan = status->vrfToSBDVlan().version();
      inputs.localVtepAddr = status->localVtepAddr();
      inputs.mlagVtepAddr = status->mlagVtepAddr();
   }
   return inputs;
}

void TransitIntfSm::mappingScanBegins(size_t vlans) {
   groupByAttr0_.reserve(vlans);
   if (isUnseen()) {
      size_t const most = std::min({vlans, pegVlanStatus_->pegVlan().size(),
                                    mcastEvpnConfig_->transitVrf().size()});
      includeSink_.seen().reserve(most);
      transitSink_.seen().reserve(most);
   }
   scannedInputs_ = inputsNow();
   inputsAsScanned_ = true;
}

bool TransitIntfSm::outputsStayFresh() const {
   return synchronous_ && initialScanDone_ && isUnseen() &&
          transitIntfColl_->intf().empty() && membershipJoinStatus_->vlan().empty() &&
          transitIntfColl_->subscribers() == 0 &&
          membershipJoinStatus_->subscribers() == 0 && outputState_ &&
          outputState_->subscribers() == 0;
}

bool TransitIntfSm::isUnseen() const {
   return includeSink_.heldBack() && excludeSink_.heldBack() &&
          transitSink_.heldBack() && routerSink_.heldBack() && subscribers() == 0 &&
          !isTraced(qtHandle_);
}

bool TransitIntfSm::isRepetitionAtStart() {
   // From the first change on everything is evaluated, also when it is taken back.
   inputsAsScanned_ = inputsAsScanned_ && inputsNow() == scannedInputs_;
   if (!isUnseen()) {
      return false;
   }
   if (inputsAsScanned_) {
      return true;
   }
   auto const* const child = vtiStatusDirSm1_->vxlanChild();
   return child != nullptr && child->en().get() == vxlanStatus() &&
          !vtiStatusDirSm1_->inputScanComplete3() && child->secondScan3IsToCome();
}

} // namespace Irb::Multicast::Evpn
