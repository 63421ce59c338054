#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kStream;

// A younger event of the same VRF has gone on from what this one says.
struct TransitIntfSm::RunningVrf {
   RunningVrf(TransitIntfSm& machine, Lidra::IntfId intf, L3::VrfName const& vrf)
      : sm(machine), vtiIntf(intf), vrfName(vrf), outer(machine.runningVrfs_) {
      for (auto* running = outer; running != nullptr; running = running->outer) {
         if (running->vtiIntf == vtiIntf && running->vrfName == vrfName) {
            running->overtaken = true;
         }
      }
      sm.runningVrfs_ = this;
   }
   RunningVrf(RunningVrf const&) = delete;
   RunningVrf& operator=(RunningVrf const&) = delete;
   ~RunningVrf() { sm.runningVrfs_ = outer; }

   TransitIntfSm& sm;
   Lidra::IntfId vtiIntf;
   L3::VrfName const& vrfName;
   RunningVrf* outer;
   bool overtaken = false;
};

void TransitIntfSm::eventToVtiStatusStream(
   Lidra::IntfId vtiIntf, L3::VrfName const& vrfName,
   Zin::Optional<Bridging::VlanIdOrNone> const& oldSbdVlan,
   Zin::Optional<Bridging::VlanIdOrNone> const& newSbdVlan) {
   using ::FlumaCode::flumaPrint;
   using Element = ::FlumaCode::Tuple<Zin::Optional<Bridging::VlanIdOrNone>, bool>;

   static constexpr char const* kFunction = "eventToVtiStatusStream";

   if (!streaming()) {
      return;
   }
   TRANSIT_INTF_TRACE(kStream,
                      "vtiStatusStream = from( vtiStatusDir.vtiStatus[].vrfToSBDVlan[] "
                      "): vtiIntf={} vrfName={} oldSbdVlan={} newSbdVlan={}",
                      vtiIntf, vrfName, flumaPrint(oldSbdVlan), flumaPrint(newSbdVlan));
   if (vtiIntf != StreamOps::vxlanIntf()) {
      StreamOps::filterFailed(kFunction, StreamOps::kFilterVxlanIntf);
      return;
   }
   StreamOps::flattening(kFunction,
                         "[ ( if ( _oldValueOpt1 != _newValueOpt2 ) then _oldValueOpt1 "
                         "else None, false ), ( _newValueOpt2, true ) ]",
                         2);
   RunningVrf const running(*this, vtiIntf, vrfName);
   auto const element = [&](Zin::Optional<Bridging::VlanIdOrNone> const& sbdVlan,
                            bool addDel) {
      TRANSIT_INTF_TRACE_AS(TransitIntfTrace::kDetail, kFunction,
                            "Flattening element: {}",
                            flumaPrint(Element{sbdVlan, addDel}));
      if (sbdVlan) {
         eventToTransitVlanStream(sbdVlan->value(), vrfName, addDel);
      } else {
         StreamOps::filterFailed(kFunction, "_valueOpt3");
      }
   };
   element(oldSbdVlan != newSbdVlan ? oldSbdVlan : std::nullopt, false);
   if (!running.overtaken) {
      element(newSbdVlan, true);
   }
}

} // namespace Irb::Multicast::Evpn
