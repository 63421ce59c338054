#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/FmtTransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/inputs/McastEvpnConfigSm0.h"
#include "McastVpnLib/TransitIntfSm/inputs/MlagStatusSm3.h"
#include "McastVpnLib/TransitIntfSm/inputs/PegVlanStatusSm4.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "pelk/Assert.h"
#include "zin/EntityOps.h"

#include <array>
#include <utility>

namespace Irb::Multicast::Evpn {

using TransitIntfTrace::kDetail;
using TransitIntfTrace::kEvent;

TransitIntfSm::TransitIntfSm(Lidra::AddressFamily addressFamily,
                             McastEvpnConfigPtr mcastEvpnConfig,
                             VtiStatusDirPtr vtiStatusDir, MlagStatusPtr mlagStatus,
                             TransitIntfCollPtr transitIntfColl,
                             MembershipJoinStatusPtr membershipJoinStatus,
                             PegVlanStatusPtr pegVlanStatus, Vorn::SmControl smControl)
   : NamedOutputs(this), addressFamily_(addressFamily),
     mcastEvpnConfig_(std::move(mcastEvpnConfig)),
     vtiStatusDir_(std::move(vtiStatusDir)), mlagStatus_(std::move(mlagStatus)),
     transitIntfColl_(std::move(transitIntfColl)),
     membershipJoinStatus_(std::move(membershipJoinStatus)),
     pegVlanStatus_(std::move(pegVlanStatus)), smControl_(std::move(smControl)),
     scanStateSubscription_(Pelk::Subscription<TransitIntfSm, InputSmScanState>::of<
                            &TransitIntfSm::inputSmScanStateDispatch>(this)) {
   handleInitialized();
}

TransitIntfSm::~TransitIntfSm() {
   // A callback that one of the steps below may still cause finds the machine marked,
   // and the streams are closed: the outputs stay.
   beingDeletedIs();
   hasNotificationActiveIs(false);
   // Only for the input machines to look whether they missed a change.
   doDeleteAll();
   // The input machines, with their tasks, before what they report to.
   forEachInput([](auto& machine) { machine.shutdown(); });
   includeReconciler_.taskDel();
   excludeReconciler_.taskDel();
   transitReconciler_.taskDel();
   routerReconciler_.taskDel();
   outputStateDel();
   inputSmScanStateDel();
   // The members go now: input machines, tables, inputs, and the outputs, which keep
   // what was published.
}

Pelk::Ptr<TransitIntfSm> TransitIntfSm::TransitIntfSmIs(
   Lidra::AddressFamily addressFamily, McastEvpnConfigPtr const& mcastEvpnConfig,
   VtiStatusDirPtr const& vtiStatusDir, MlagStatusPtr const& mlagStatus,
   TransitIntfCollPtr const& transitIntfColl,
   MembershipJoinStatusPtr const& membershipJoinStatus,
   PegVlanStatusPtr const& pegVlanStatus, Vorn::SmControl const& smControl) {
   auto sm = Pelk::makePtr<TransitIntfSm>(
      addressFamily, mcastEvpnConfig, vtiStatusDir, mlagStatus, transitIntfColl,
      membershipJoinStatus, pegVlanStatus, smControl);
   sm->hasNotificationActiveIs(true);
   return sm;
}

Pelk::Ptr<TransitIntfSm> transitIntfSmFactory(
   Lidra::AddressFamily addressFamily,
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
   Pelk::Ptr<Mlag::Status const> const& mlagStatus,
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus,
   Pelk::Ptr<Routing::Multicast::PegVlanStatus const> const& pegVlanStatus,
   Vorn::SmControl const& smControl) {
   return TransitIntfSm::TransitIntfSmIs(
      addressFamily, mcastEvpnConfig, vtiStatusDir, mlagStatus, transitIntfColl,
      membershipJoinStatus, pegVlanStatus, smControl);
}

// Calls f(machine) for each input machine that is there, in the order of their start.
template <typename F>
void TransitIntfSm::forEachInput(F f) const {
   auto const with = [&](auto const& machine) {
      if (machine) {
         f(*machine);
      }
   };
   with(pegVlanStatusSm4_);
   with(mlagStatusSm3_);
   with(vtiStatusDirSm1_);
   with(mcastEvpnConfigSm0_);
}

void TransitIntfSm::qtHandleIs(Pelk::Ptr<Fennlog::TraceHandle> const& handle) {
   qtHandle_ = handle;
}

void TransitIntfSm::handleInitialized() {
   qtHandleIs(smControl_.qtHandle());
   TRANSIT_INTF_TRACE(kEvent, "handleInitialized");
   if (smControl_.runMode() == Vorn::RunMode::synchronous) {
      synchronous_ = true;
   } else if (smControl_.runMode() == Vorn::RunMode::asynchronous) {
      synchronous_ = false;
   }
   inputSmScanStateIs(Pelk::makePtr<InputSmScanState>());
   outputStateIs();
   if (!synchronous_ && !smControl_.taskScheduler()) {
      smControl_.taskSchedulerIs(Kolm::TaskSchedulerRoot::findOrCreateScheduler());
   }
   includeReconciler_.start();
   excludeReconciler_.start();
   transitReconciler_.start();
   routerReconciler_.start();
   checkArguments();
   TRANSIT_INTF_TRACE(kDetail, "create local SMs");
   TRANSIT_INTF_TRACE(kDetail, "create non-public arg SMs");
   startInputs();
   initialized_ = true;
   handleTransitIntfCollIntfOutputInputReady();
}

void TransitIntfSm::checkArguments() const {
   auto const required = [](auto const& argument, char const* accessor) {
      Pelk::Impl::vfmassert(
         static_cast<bool>(argument), TransitIntfTrace::kFile, __LINE__,
         "handleInitialized",
         "%s && \"Pointer SM args cannot be null unless they are marked Optional\"",
         accessor);
   };
   required(mcastEvpnConfig_, "mcastEvpnConfig()");
   required(vtiStatusDir_, "vtiStatusDir()");
   required(mlagStatus_, "mlagStatus()");
   required(transitIntfColl_, "transitIntfColl()");
   required(membershipJoinStatus_, "membershipJoinStatus()");
   required(pegVlanStatus_, "pegVlanStatus()");
}

void TransitIntfSm::startInputs() {
   startInput(pegVlanStatusSm4_, pegVlanStatus_);
   startInput(mlagStatusSm3_, mlagStatus_);
   startInput(vtiStatusDirSm1_, vtiStatusDir_);
   startInput(mcastEvpnConfigSm0_, mcastEvpnConfig_);
}

template <typename Machine, typename Input>
void TransitIntfSm::startInput(Pelk::Ptr<Machine>& machine,
                               Pelk::Ptr<Input const> const& input) {
   machine = Pelk::makePtr<Machine>(input);
   machine->parentIs(this);
   machine->handleInitialized();
   machine->doInitializeTask();
   if (synchronous_) {
      machine->doInputScan();
   }
}

void TransitIntfSm::inputSmScanStateIs(Pelk::Ptr<InputSmScanState> const& state) {
   inputSmScanState_ = state;
   scanStateSubscription_.sourceIs(inputSmScanState_);
}

void TransitIntfSm::inputSmScanStateDel() {
   inputSmScanStateIs(nullptr);
}

void TransitIntfSm::inputSmScanStateDispatch(Pelk::Publisher*, Pelk::Subscriber*,
                                             int16_t attributeId, void const*,
                                             void const*) noexcept {
   if (attributeId >= InputSmScanState::kVtiStatusStreamScan &&
       attributeId <= InputSmScanState::kTransitCfgStreamScan) {
      handleInputReady();
   }
}

void TransitIntfSm::handleInputReady() {
   if (isBeingDeleted()) {
      return;
   }
   Pelk::Ptr const guard(this);
   outputsAreFresh_ = outputsStayFresh();
   handleMembershipJoinStatusVlanGroupSourceIncludeIntfOutputInputReady();
   if (!isBeingDeleted()) {
      handleMembershipJoinStatusVlanGroupSourceExcludeIntfOutputInputReady();
   }
   if (!isBeingDeleted()) {
      handleTransitIntfCollIntfOutputInputReady();
   }
   if (!isBeingDeleted()) {
      handleMembershipJoinStatusVlanRouterIntfOutputInputReady();
   }
   outputsAreFresh_ = false;
}

bool TransitIntfSm::inputScansComplete() const {
   return mcastEvpnConfigSm0_ && mcastEvpnConfigSm0_->inputScanComplete0() &&
          vtiStatusDirSm1_ && vtiStatusDirSm1_->inputScanComplete1() &&
          mlagStatusSm3_ && mlagStatusSm3_->inputScanComplete2() &&
          vtiStatusDirSm1_->inputScanComplete3() && pegVlanStatusSm4_ &&
          pegVlanStatusSm4_->inputScanComplete4();
}

void TransitIntfSm::handleInitialScanDone() {
   if (initialScanDone_) {
      return;
   }
   auto const& state = *inputSmScanState_;
   struct Stream {
      bool scanned;
      char const* message;
   };
   std::array const streams = {
      Stream{state.vtiStatusStreamScan(), " vtiStatusStream scan is false"},
      Stream{state.pegVlanStreamScan(), " pegVlanStream scan is false"},
      Stream{state.mlagStreamScan(), " mlagStream scan is false"},
      Stream{state.vtepAddrChangeStreamScan(), " vtepAddrChangeStream scan is false"},
      Stream{state.transitCfgStreamScan(), " transitCfgStream scan is false"},
   };
   for (auto const& stream : streams) {
      if (!stream.scanned) {
         TRANSIT_INTF_TRACE(kDetail, "{}", stream.message);
         return;
      }
   }
   TRANSIT_INTF_TRACE(
      kDetail, "Initial scan done for child SMs. Now scanning with events triggered.");
   initialScanDone_ = true;
   Pelk::Ptr const scanState(inputSmScanState_);
   scanState->republish();
   forEachInput([](auto& machine) { machine.doInputScan(); });
   handleIdle();
   handleInputReady();
}

void TransitIntfSm::handleIdle() {
   inputSmScanState_->idleIs(true);
}

Pelk::Ptr<TransitIntfSm::OutputState> const& TransitIntfSm::outputStateIs() {
   if (!outputState_) {
      outputState_ = FlumaCode::TransitIntfSm::outputStateFactory();
   }
   return outputState_;
}

void TransitIntfSm::outputStateDel() {
   outputState_ = nullptr;
}

Pelk::Ptr<TransitIntfSm::GroupByCollectionValueType0>
TransitIntfSm::groupByAttr0(uint16_t sbdVlan) const {
   return groupPages_.find(groupByAttr0_, sbdVlan);
}

void TransitIntfSm::groupByAttr0Is(
   uint16_t sbdVlan, Pelk::Ptr<GroupByCollectionValueType0> const& group) {
   Pelk::Ptr<Pelk::Entity const> const announced = group;
   groupByAttr0_.assign(sbdVlan, group);
   groupPages_.groupIs(sbdVlan, group.get());
   publishChangeRecursive(kGroupByAttr0, &sbdVlan, announced.get());
}

void TransitIntfSm::groupByAttr0Del(uint16_t sbdVlan) {
   groupPages_.groupIs(sbdVlan, nullptr);
   Zin::memberDel(*this, kGroupByAttr0, groupByAttr0_, sbdVlan);
}

void TransitIntfSm::groupByAttr0DelAll() {
   Pelk::Ptr const guard(this);
   for (auto group = groupByAttr0_.iterate(); group; ++group) {
      auto const sbdVlan = group.key();
      groupByAttr0Del(sbdVlan);
   }
}

void TransitIntfSm::hasNotificationActiveIs(bool active) {
   forEachInput([active](auto& machine) { machine.hasNotificationActiveIs(active); });
}

void TransitIntfSm::doDeleteAll() {
   Pelk::Ptr const guard(this);
   // The VRFs' mappings last: they are what takes the outputs away.
   mcastEvpnConfigSm0_->doDeleteAll();
   mlagStatusSm3_->doDeleteAll();
   pegVlanStatusSm4_->doDeleteAll();
   vtiStatusDirSm1_->doDeleteAll();
   if (isBeingDeleted()) {
      return; // an object that is about to go tells nobody of its tables
   }
   groupByAttr0DelAll();
   includeSink_.seen().delAll();
   excludeSink_.seen().delAll();
   transitSink_.seen().delAll();
   routerSink_.seen().delAll();
}

void TransitIntfSm::zinDoZombieReactors(bool zombie) {
   forEachInput([zombie](auto& machine) { machine.zinDoZombieReactors(zombie); });
}

} // namespace Irb::Multicast::Evpn
