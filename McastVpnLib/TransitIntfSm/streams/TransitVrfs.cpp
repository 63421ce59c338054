#include "McastVpnLib/McastVpnTransitSm/TransitVrfWalk.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"

// What the streams do that evaluate every transit VRF: in the end most of these get
// just another address, so that they are worth a short way.
namespace Irb::Multicast::Evpn {

// For the function named.
void TransitIntfSm::flattenTransitVrf(char const* function) {
   if (isRepetition()) {
      return;
   }
   auto const& transitVrf = mcastEvpnConfig_->transitVrf();
   StreamOps::flattening(function, "mcastEvpnConfig.transitVrf", transitVrf.size());
   auto const* const status = vxlanStatus();
   uint32_t const mapping = status != nullptr ? status->vrfToSBDVlan().version() : 0;
   auto const isCurrent = [&] {
      return status != nullptr && status == vxlanStatus() &&
             status->vrfToSBDVlan().version() == mapping;
   };
   auto const vlanOf = [&](L3::VrfName const& vrfName) {
      auto const* const entry =
         isCurrent() ? status->vrfToSBDVlan().find(vrfName) : nullptr;
      if (entry == nullptr) {
         return TransitVrfWalk::kNoVlan;
      }
      uint16_t const sbdVlan = entry->value().value();
      TransitVrfWalk::fetch(groupPages_.find(groupByAttr0_, sbdVlan));
      return uint32_t{sbdVlan};
   };
   TransitVrfWalk(transitVrf, membershipJoinStatus_->vlan(), transitIntfColl_->intf())
      .each(vlanOf, [&](L3::VrfName const& vrfName,
                        TransitVrfWalk::Found const* found) {
         StreamOps::element(function, vrfName);
         if (found == nullptr || !isCurrent() || !refreshTransitIntf(vrfName, *found)) {
            eventToVrfStream(vrfName,
                             KnownInputs::transitVrf(transitVrf.version(), true));
         }
      });
}

// A VLAN of one VRF, a transit VRF, that is and stays a transit VLAN and gets just an
// address: what an evaluation comes to then. False, and nothing done, if there is more
// to do or to say, or if it is another VRF.
bool TransitIntfSm::refreshTransitIntf(L3::VrfName const& vrfName,
                                       TransitVrfWalk::Found const& found) {
   if (found.joins == nullptr || found.intf == nullptr || !isQuiet()) {
      return false;
   }
   Bridging::VlanId const vlanId(static_cast<uint16_t>(found.sbdVlan));
   auto const* const group = groupPages_.find(groupByAttr0_, vlanId);
   if (group == nullptr || group->coll().size() != 1 || !group->collHas(vrfName) ||
       !pegVlanStatus_->pegVlanHas(vlanId) ||
       joinWork(*found.joins, true) != JoinWork::none ||
       mlagStatus_->mlagState() == Mlag::MlagState::withheld) {
      return false;
   }
   found.intf->ipAddrIs(vtepAddr(*vxlanStatus()));
   return true;
}

// Whether nobody would be told of the steps of an evaluation, no output is reconciled,
// and no other evaluation runs.
bool TransitIntfSm::isQuiet() const {
   using namespace TransitIntfTrace;
   constexpr auto kLevels =
      Pelk::TraceLevels::of(kDecision) | Pelk::TraceLevels::of(kFilter) |
      Pelk::TraceLevels::of(kStream) | Pelk::TraceLevels::of(kDetail);
   return streaming() && runningVlans_ == nullptr &&
          Fennlog::ringOf(qtHandle_) == nullptr &&
          !transitIntfSm.levels().hasAny(kLevels) && !includeSink_.reconciling() &&
          !excludeSink_.reconciling() && !transitSink_.reconciling() &&
          !routerSink_.reconciling();
}

Lidra::IpGenAddr TransitIntfSm::vtepAddr(Vxlan::VtiStatus const& status) const {
   return mlagStatus_->mlagState() == Mlag::MlagState::active ? status.mlagVtepAddr()
                                                              : status.localVtepAddr();
}

} // namespace Irb::Multicast::Evpn
