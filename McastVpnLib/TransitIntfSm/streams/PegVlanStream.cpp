#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kStream;

namespace {

// Whether a walk over all VRFs would say something of each.
bool elementsAreTraced() {
   auto const& handler = TransitIntfTrace::transitIntfSm;
   return handler.enabled(TransitIntfTrace::kFilter) ||
          handler.enabled(TransitIntfTrace::kDetail);
}

} // namespace

void TransitIntfSm::eventToPegVlanStream(
   Bridging::VlanId vlanId, Zin::Optional<Routing::Multicast::PegVlan> const&,
   KnownInputs known) {
   if (!streaming() || isRepetition()) {
      return;
   }
   TRANSIT_INTF_TRACE(
      kStream, "pegVlanStream = from( pegVlanStatus.pegVlan[] ): vlanId={}", vlanId);
   VtiStatusPtr const status(vxlanStatus());
   if (!status) {
      StreamOps::filterFailed(__func__, StreamOps::kFilterVxlanStatus);
      return;
   }
   // Whoever was notified may have put another status there, which is scanned then.
   auto const isCurrent = [&] { return vxlanStatus() == status.get(); };
   if (!elementsAreTraced()) {
      // The VRFs that a walk would find, in the order in which it would.
      Pelk::Ptr const child(vtiStatusDirSm1_->vxlanChild());
      auto const* const index =
         child && child->en() == status ? child->currentIndex() : nullptr;
      if (index != nullptr) {
         Zin::Optional<L3::VrfName> vrfName;
         while (!index->isOnly(vlanId, vrfName) &&
                (vrfName = index->vrfAfter(vlanId, vrfName)) && isCurrent()) {
            eventToTransitVlanStream(vlanId, *vrfName, true, known);
         }
         return;
      }
   }
   auto const& vrfToSBDVlan = status->vrfToSBDVlan();
   StreamOps::flattening(__func__, "( *vx1Status ).vrfToSBDVlan", vrfToSBDVlan.size());
   for (auto member = vrfToSBDVlan.iterate(); member && isCurrent(); ++member) {
      auto const vrfName = member.key();
      StreamOps::element(__func__, vrfName);
      if (member.value().value() == vlanId.value()) {
         eventToTransitVlanStream(vlanId, vrfName, true, known);
      } else {
         StreamOps::filterFailed(__func__, "( vlanId.value == sbdVlan.value )");
      }
   }
}

} // namespace Irb::Multicast::Evpn
