#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kStream;

void TransitIntfSm::eventToVrfStream(L3::VrfName const& vrfName, KnownInputs known) {
   if (!streaming() || isRepetition()) {
      return;
   }
   TRANSIT_INTF_TRACE(kStream,
                      "vrfStream = merge( transitCfgStream, vtepAddrChangeStream, "
                      "mlagStream ): vrfName={}",
                      vrfName);
   auto const* const status = vxlanStatus();
   if (status == nullptr) {
      StreamOps::filterFailed(__func__, StreamOps::kFilterVxlanStatus);
      return;
   }
   auto const* const entry = status->vrfToSBDVlan().find(vrfName);
   if (entry == nullptr) {
      StreamOps::filterFailed(__func__, "sbdVlan");
      return;
   }
   eventToTransitVlanStream(entry->value().value(), vrfName, true, known);
}

void TransitIntfSm::findVxlanStatus() const {
   auto const& statuses = vtiStatusDir_->vtiStatus();
   auto const* const entry = statuses.find(StreamOps::vxlanIntf());
   vxlanStatus_ = entry != nullptr ? entry->value().get() : nullptr;
   vxlanStatusVersion_ = statuses.version();
}

} // namespace Irb::Multicast::Evpn
