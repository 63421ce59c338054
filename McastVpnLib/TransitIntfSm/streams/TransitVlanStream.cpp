#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusSm2.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"
#include "dualo/FmtDualo.h"

#include <utility>

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kDecision;
using TransitIntfTrace::kDetail;
using TransitIntfTrace::kFilter;
using TransitIntfTrace::kStream;

// A younger evaluation of the same VLAN has decided anew, and has written that.
struct TransitIntfSm::RunningVlan {
   RunningVlan(TransitIntfSm& machine, uint16_t vlan)
      : sm(machine), sbdVlan(vlan), outer(machine.runningVlans_) {
      for (auto* running = outer; running != nullptr; running = running->outer) {
         running->overtaken |= running->sbdVlan == sbdVlan;
      }
      sm.runningVlans_ = this;
   }
   RunningVlan(RunningVlan const&) = delete;
   RunningVlan& operator=(RunningVlan const&) = delete;
   ~RunningVlan() { sm.runningVlans_ = outer; }

   TransitIntfSm& sm;
   uint16_t sbdVlan;
   RunningVlan* outer;
   bool overtaken = false;
};

void TransitIntfSm::eventToTransitVlanStream(uint16_t sbdVlan,
                                             L3::VrfName const& vrfName, bool addDel,
                                             KnownInputs known) {
   if (!streaming()) {
      return;
   }
   TRANSIT_INTF_TRACE(kStream,
                      "transitVlanStream = merge( vrfStream, vtiStatusStream, "
                      "pegVlanStream ): sbdVlan={} vrfName={} addDel={}",
                      sbdVlan, vrfName, addDel);
   RunningVlan running(*this, sbdVlan);
   auto const [group, before] = groupBy(sbdVlan, vrfName, addDel);
   if (before > 1 && group->coll().size() > 1 && isUnseen()) {
      return; // decided when the second VRF came: no output is to have it
   }
   if (running.overtaken && groupByAttr0(sbdVlan) == group) {
      // What was decided while the group was announced did not know of this VRF yet.
      running.overtaken = false;
   }
   Bridging::VlanId const vlanId(sbdVlan);
   bool const enabled = isTransitVlan(*group, vrfName, vlanId, known);
   DUALO_FMT_ALWAYS(qtHandle_, TransitIntfTrace::transitIntfSm, kDecision,
                    TransitIntfTrace::kFile, "transit vlan: {} for VRF: {} enabled: {}",
                    sbdVlan, vrfName, enabled);
   if (!running.overtaken) {
      writeJoins(vlanId, enabled, running.overtaken);
   }
   if (!running.overtaken) {
      writeTransitIntf(vlanId, enabled, running.overtaken);
   }
}

// The VLAN's group after the event; one that was left empty is not kept any more.
TransitIntfSm::Grouped TransitIntfSm::groupBy(uint16_t sbdVlan,
                                              L3::VrfName const& vrfName, bool addDel) {
   Pelk::Ptr group(groupPages_.find(groupByAttr0_, sbdVlan));
   if (!group) {
      group = Pelk::makePtr<GroupByCollectionValueType0>();
      if (auto const* const child = vtiStatusDirSm1_->vxlanChild()) {
         group->collReserve(child->vrfsOn(sbdVlan));
      }
      groupByAttr0Is(sbdVlan, group);
   }
   size_t const before = group->coll().size();
   if (addDel) {
      TRANSIT_INTF_TRACE_AS(
         kFilter, "eventToTransitVlanStream",
         "Inserting value {} with key {} into groupby collection with key {}",
         ::FlumaCode::flumaPrint(::FlumaCode::Unit()), vrfName, sbdVlan);
      if (!group->collHas(vrfName)) {
         group->collIs(vrfName);
      }
   } else {
      TRANSIT_INTF_TRACE_AS(kFilter, "eventToTransitVlanStream",
                            "Deleting key {} from groupby collection with key {}",
                            vrfName, sbdVlan);
      group->collDel(vrfName);
      if (group->coll().empty()) {
         groupByAttr0Del(sbdVlan);
      }
   }
   return {std::move(group), before};
}

bool TransitIntfSm::isTransitVlan(GroupByCollectionValueType0 const& group,
                                  L3::VrfName const& vrfName, Bridging::VlanId vlanId,
                                  KnownInputs known) const {
   auto const& coll = group.coll();
   if (coll.size() != 1) {
      return false;
   }
   auto const& only = coll.begin()->key();
   auto const& transitVrf = mcastEvpnConfig_->transitVrf();
   bool const isTransitVrf =
      known.transitVrfVersion == transitVrf.version() && only == vrfName
         ? known.isTransitVrf
         : transitVrf.contains(only);
   if (!isTransitVrf) {
      return false;
   }
   auto const& pegVlan = pegVlanStatus_->pegVlan();
   return known.pegVlanVersion == pegVlan.version() ? known.isPegVlan
                                                    : pegVlan.contains(vlanId);
}

void TransitIntfSm::writeJoins(Bridging::VlanId vlanId, bool enabled,
                               bool const& overtaken) {
   auto const work = joinWork(vlanId, enabled);
   if (work == JoinWork::none) {
      return;
   }
   auto const anyGrpOrSrc = Lidra::IpGenAddr::ipGenAddrZero(addressFamily_);
   auto const intfId = StreamOps::nullIntf();
   if (work == JoinWork::all) {
      routerSink_.remove(OutputKeys::validKey<RouterIntfOutput::Key>(vlanId, intfId));
      if (overtaken) {
         return;
      }
      excludeSink_.remove(OutputKeys::validKey<ExcludeIntfOutput::Key>(
         vlanId, anyGrpOrSrc, anyGrpOrSrc, intfId));
      if (overtaken) {
         return;
      }
   }
   auto const key = OutputKeys::validKey<IncludeIntfOutput::Key>(vlanId, anyGrpOrSrc,
                                                                 anyGrpOrSrc, intfId);
   if (enabled) {
      includeSink_.insert(key, {}, overtaken);
   } else {
      includeSink_.remove(key);
   }
}

// One way through the tree serves the three sinks.
TransitIntfSm::JoinWork TransitIntfSm::joinWork(Bridging::VlanId vlanId,
                                                bool enabled) const {
   if (routerSink_.reconciling() || excludeSink_.reconciling() ||
       includeSink_.reconciling() || TransitIntfTrace::transitIntfSm.enabled(kDetail)) {
      return JoinWork::all;
   }
   auto const* const atVlan = membershipJoinStatus_->vlan().find(vlanId);
   if (atVlan == nullptr) {
      return enabled ? JoinWork::include : JoinWork::none;
   }
   return joinWork(*atVlan->value(), enabled);
}

TransitIntfSm::JoinWork TransitIntfSm::joinWork(Gmp::VlanMembershipJoin const& joins,
                                                bool enabled) const {
   auto const intfId = StreamOps::nullIntf();
   auto const& routers = joins.routerIntf();
   if (routers.empty() ? joins.group().empty() : routers.contains(intfId)) {
      return JoinWork::all;
   }
   auto const anyGrpOrSrc = Lidra::IpGenAddr::ipGenAddrZero(addressFamily_);
   auto const* const atGroup = joins.group().find(anyGrpOrSrc);
   auto const* const atSource =
      atGroup != nullptr ? atGroup->value()->source().find(anyGrpOrSrc) : nullptr;
   if (atSource == nullptr) {
      return enabled ? JoinWork::include : JoinWork::none;
   }
   auto const& excluded = atSource->value()->excludeIntf();
   auto const& included = atSource->value()->includeIntf();
   if (excluded.empty() ? included.empty() : excluded.contains(intfId)) {
      return JoinWork::all;
   }
   return enabled && included.contains(intfId) ? JoinWork::none : JoinWork::include;
}

void TransitIntfSm::writeTransitIntf(Bridging::VlanId vlanId, bool enabled,
                                     bool const& overtaken) {
   auto const* const status = vxlanStatus();
   if (status == nullptr) {
      StreamOps::filterFailed("eventToTransitVlanStream",
                              StreamOps::kFilterVxlanStatus);
      return;
   }
   auto const intfId = Lidra::VlanIntfId::vlanIdToIntfId(vlanId);
   auto const key = OutputKeys::validKey<TransitIntfOutput::Key>(intfId);
   if (!enabled || mlagStatus_->mlagState() == Mlag::MlagState::withheld) {
      transitSink_.remove(key);
      return;
   }
   transitSink_.insert(key, {intfId, vtepAddr(*status)}, overtaken);
}

} // namespace Irb::Multicast::Evpn
