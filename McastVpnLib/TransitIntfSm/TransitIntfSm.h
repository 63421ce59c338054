#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "McastVpnLib/McastVpnTransitSm/TransitVrfWalk.h"
#include "McastVpnLib/TransitIntfSm/GroupBy.h"
#include "McastVpnLib/TransitIntfSm/GroupPages.h"
#include "McastVpnLib/TransitIntfSm/InputSmScanState.h"
#include "McastVpnLib/TransitIntfSm/KnownInputs.h"
#include "McastVpnLib/TransitIntfSm/OutputState.h"
#include "McastVpnLib/TransitIntfSm/outputs/NamedOutputs.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "bridging/VlanId.h"
#include "fennlog/TraceHandle.h"
#include "gmp/MembershipJoinStatus.h"
#include "l3/VrfName.h"
#include "lidra/AddressFamily.h"
#include "lidra/IntfId.h"
#include "lidra/IpAddr.h"
#include "lidra/IpGenAddr.h"
#include "mlag/Status.h"
#include "pelk/Entity.h"
#include "pelk/Ptr.h"
#include "pelk/Subscription.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "vorn/SmControl.h"
#include "vxlan/VtiStatusDir.h"
#include "zin/Optional.h"

#include <cstddef>
#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {
class McastEvpnConfigSm0;
class MlagStatusSm3;
class PegVlanStatusSm4;
class VtiStatusDirSm1;
} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm

namespace Irb::Multicast::Evpn {

// The dataflow machine: keeps the transit interfaces of an address family, and the
// joins that make the switch forward there, in step with its inputs. A VLAN is a
// transit VLAN if exactly one VRF is mapped to it, that VRF is configured as a transit
// VRF, and the VLAN is a PEG VLAN.
//
// Input machines (inputs/) scan and follow the inputs, and hand what they find to the
// source streams (streams/); these feed two merged streams, the second of which keeps
// the VRFs of each VLAN (GroupBy.h), decides, and ends in four sinks (outputs/). All
// edges stand in Pipeline.h.
//
// A start is careful, because the outputs may hold what an earlier life of the machine
// wrote, and must not lose what is right:
//  - The first pass over each input calls the streams, which are closed: it counts.
//  - When all five scans have done that (handleInitialScanDone), the streams open, and
//    the second pass fills a table of what each output has to hold, and writes nothing.
//  - When that is over too, each output is reconciled: what is missing is written, what
//    is too much is removed, and the output is ready.
// Asynchronously all of this is done in tasks, a slice at a time; synchronously it is
// done when the factory returns. Changes that come meanwhile are handled at once.
//
// To add a source stream: a flag in InputSmScanState, an input machine or a scan, a
// file in streams/, its edges in Pipeline.h, and its lines in the lists of
// handleInitialScanDone() and inputScansComplete().
//
// The inputs are owned by others and only read; the outputs are owned by the caller and
// stay as they are when the machine goes.
//
// Whoever is notified of an output's change may change the inputs from there, which is
// handled at once, and may drop the last use of the machine, which then stays until the
// running dispatcher or task ends.
//
// Errors: a mapped VLAN outside 1..4094 raises a Zin::RangeException when it reaches
// the second merged stream; out of a notification or a task it ends the process.
//
// Event thread only.
class MCASTVPNLIB_EXPORT TransitIntfSm final : public Pelk::Entity,
                                               public NamedOutputs {
 public:
   // The parts of the machine under the names by which it offers them.
   using InputSmScanState = FlumaCode::TransitIntfSm::InputSmScanState;
   using OutputState = FlumaCode::TransitIntfSm::OutputState;
   using McastEvpnConfigSm0 = FlumaCode::TransitIntfSm::McastEvpnConfigSm0;
   using VtiStatusDirSm1 = FlumaCode::TransitIntfSm::VtiStatusDirSm1;
   using MlagStatusSm3 = FlumaCode::TransitIntfSm::MlagStatusSm3;
   using PegVlanStatusSm4 = FlumaCode::TransitIntfSm::PegVlanStatusSm4;
   using GroupByCollectionValueType0 = GroupByCollection;

   using McastEvpnConfigPtr = Pelk::Ptr<Routing::Multicast::Evpn::Config const>;
   using VtiStatusDirPtr = Pelk::Ptr<Vxlan::VtiStatusDir const>;
   using VtiStatusPtr = Pelk::Ptr<Vxlan::VtiStatus const>;
   using MlagStatusPtr = Pelk::Ptr<Mlag::Status const>;
   using TransitIntfCollPtr = Pelk::Ptr<TransitIntfColl>;
   using MembershipJoinStatusPtr = Pelk::Ptr<Gmp::MembershipJoinStatus>;
   using PegVlanStatusPtr = Pelk::Ptr<Routing::Multicast::PegVlanStatus const>;

   // Attribute ids. Frozen.
   static constexpr int16_t kAddressFamily = 258;
   static constexpr int16_t kMcastEvpnConfig = 259;
   static constexpr int16_t kVtiStatusDir = 260;
   static constexpr int16_t kMlagStatus = 261;
   static constexpr int16_t kTransitIntfColl = 262;
   static constexpr int16_t kMembershipJoinStatus = 263;
   static constexpr int16_t kPegVlanStatus = 264;
   static constexpr int16_t kInitialized = 265;
   static constexpr int16_t kSynchronous = 266;
   static constexpr int16_t kInitialScanDone = 267;
   static constexpr int16_t kInputSmScanState = 268;
   static constexpr int16_t kOutputState = 269;
   static constexpr int16_t kGroupByAttr0 = 270;
   static constexpr int16_t kIdle = 271;
   static constexpr int16_t kReady = 272;
   static constexpr int16_t kMcastEvpnConfigSm0 = 273;
   static constexpr int16_t kVtiStatusDirSm1 = 274;
   static constexpr int16_t kMlagStatusSm3 = 275;
   static constexpr int16_t kPegVlanStatusSm4 = 276;

   // Makes the machine, which starts at once, and switches its notifications on.
   // transitIntfSmFactory() (McastVpnLib/McastVpnLib.h) is the same.
   static Pelk::Ptr<TransitIntfSm> TransitIntfSmIs(
      Lidra::AddressFamily addressFamily, McastEvpnConfigPtr const& mcastEvpnConfig,
      VtiStatusDirPtr const& vtiStatusDir, MlagStatusPtr const& mlagStatus,
      TransitIntfCollPtr const& transitIntfColl,
      MembershipJoinStatusPtr const& membershipJoinStatus,
      PegVlanStatusPtr const& pegVlanStatus, Vorn::SmControl const& smControl);

   // No argument may be null: fatal assertion.
   TransitIntfSm(Lidra::AddressFamily addressFamily, McastEvpnConfigPtr mcastEvpnConfig,
                 VtiStatusDirPtr vtiStatusDir, MlagStatusPtr mlagStatus,
                 TransitIntfCollPtr transitIntfColl,
                 MembershipJoinStatusPtr membershipJoinStatus,
                 PegVlanStatusPtr pegVlanStatus, Vorn::SmControl smControl);

   // --- inputs and outputs; fixed ---
   Lidra::AddressFamily addressFamily() const noexcept { return addressFamily_; }
   McastEvpnConfigPtr const& mcastEvpnConfig() const { return mcastEvpnConfig_; }
   VtiStatusDirPtr const& vtiStatusDir() const { return vtiStatusDir_; }
   MlagStatusPtr const& mlagStatus() const { return mlagStatus_; }
   TransitIntfCollPtr const& transitIntfColl() const { return transitIntfColl_; }
   MembershipJoinStatusPtr const& membershipJoinStatus() const {
      return membershipJoinStatus_;
   }
   PegVlanStatusPtr const& pegVlanStatus() const { return pegVlanStatus_; }
   // The scheduler is the one in use.
   Vorn::SmControl const& smControl() const noexcept { return smControl_; }
   // The ring that decisions are traced to, or null.
   Pelk::Ptr<Fennlog::TraceHandle> const& qtHandle() const { return qtHandle_; }
   void qtHandleIs(Pelk::Ptr<Fennlog::TraceHandle> const& handle);

   // --- state ---
   // Set at the end of the constructor: the handlers do nothing before.
   bool initialized() const noexcept { return initialized_; }
   // Scans run to their end in the caller, without tasks.
   bool synchronous() const noexcept { return synchronous_; }
   // The first pass of all inputs is over; the streams are open.
   bool initialScanDone() const noexcept { return initialScanDone_; }
   // All inputs were scanned and the streams are open; no more than that.
   bool idle() const noexcept { return inputSmScanState_ && inputSmScanState_->idle(); }
   // All outputs are reconciled.
   bool ready() const noexcept { return outputState_ && outputState_->ready(); }

   // Which scans have done their part of the pass.
   Pelk::Ptr<InputSmScanState> const& inputSmScanState() const {
      return inputSmScanState_;
   }
   // Follows the flags from now on.
   void inputSmScanStateIs(Pelk::Ptr<InputSmScanState> const& state);
   // Follows them no more.
   void inputSmScanStateDel();
   // The flags' notifications: an input was scanned.
   void inputSmScanStateDispatch(Pelk::Publisher* publisher,
                                 Pelk::Subscriber* subscriber, int16_t attributeId,
                                 void const* key, void const* value) noexcept;

   // Which outputs were reconciled; who waits for the machine subscribes here.
   Pelk::Ptr<OutputState> const& outputState() const { return outputState_; }
   // Makes it, with all flags false, if there is none.
   Pelk::Ptr<OutputState> const& outputStateIs();
   void outputStateDel();

   Pelk::Ptr<McastEvpnConfigSm0> const& mcastEvpnConfigSm0() const {
      return mcastEvpnConfigSm0_;
   }
   Pelk::Ptr<VtiStatusDirSm1> const& vtiStatusDirSm1() const {
      return vtiStatusDirSm1_;
   }
   Pelk::Ptr<MlagStatusSm3> const& mlagStatusSm3() const { return mlagStatusSm3_; }
   Pelk::Ptr<PegVlanStatusSm4> const& pegVlanStatusSm4() const {
      return pegVlanStatusSm4_;
   }

   // The VRFs of each SBD VLAN; a group that holds none is not kept.
   GroupByMap const& groupByAttr0() const noexcept { return groupByAttr0_; }
   Pelk::Ptr<GroupByCollectionValueType0> groupByAttr0(uint16_t sbdVlan) const;
   void groupByAttr0Is(uint16_t sbdVlan,
                       Pelk::Ptr<GroupByCollectionValueType0> const& group);
   void groupByAttr0Del(uint16_t sbdVlan);
   void groupByAttr0DelAll();

   // --- lifecycle ---
   // Start-up; the constructor's last step.
   void handleInitialized();
   // Opens the streams and starts the second pass, once all inputs were scanned.
   void handleInitialScanDone();
   // Sets idle.
   void handleIdle();
   // Calls the four input-ready handlers, in the order of their flags' ids (include,
   // exclude, transit, router), as long as the machine is not being deleted.
   void handleInputReady();
   // Whether every scan has done its part of the current pass.
   bool inputScansComplete() const;
   // Subscribes to every input, or unsubscribes. A change that is missed meanwhile is
   // a fatal assertion when the machine goes.
   void hasNotificationActiveIs(bool active);
   // Withdraws all that the inputs contributed, and empties the tables.
   void doDeleteAll();
   // Part of the teardown; forwarded to the input machines.
   void zinDoZombieReactors(bool zombie);

   // --- source streams: an input changed; whether it is present is not used ---
   void eventToTransitCfgStream(L3::VrfName const& vrfName,
                                Zin::Optional<::FlumaCode::Unit> const& value,
                                KnownInputs known = {});
   void eventToVtepAddrChangeStream(Lidra::IntfId vtiIntf,
                                    Zin::Optional<VtiStatusPtr> const& vtiStatus);
   void eventToMlagStream(Mlag::MlagState mlagState);
   void eventToPegVlanStream(Bridging::VlanId vlanId,
                             Zin::Optional<Routing::Multicast::PegVlan> const& pegVlan,
                             KnownInputs known = {});
   void eventToVtiStatusStream(Lidra::IntfId vtiIntf, L3::VrfName const& vrfName,
                               Zin::Optional<Bridging::VlanIdOrNone> const& oldSbdVlan,
                               Zin::Optional<Bridging::VlanIdOrNone> const& newSbdVlan);

   // --- merged streams ---
   // The VRF is to be evaluated.
   void eventToVrfStream(L3::VrfName const& vrfName, KnownInputs known = {});
   // The VRF uses the VLAN, or does so no more: evaluates the VLAN.
   void eventToTransitVlanStream(uint16_t sbdVlan, L3::VrfName const& vrfName,
                                 bool addDel, KnownInputs known = {});

   // The second scan of the mappings of the interface that carries EVPN begins, which
   // has that many VLANs.
   void mappingScanBegins(size_t vlans);
   // Whether all that the outputs hold was written by their reconciliation, which is
   // going on: then there is nothing to be deleted.
   bool outputsAreFresh() const noexcept { return outputsAreFresh_; }
   // Whether an evaluation of any VLAN can be left out: it is not seen, and the second
   // scan of the mappings, which evaluates every VLAN that has VRFs, is still to come,
   // or has done or does so from the same inputs.
   bool isRepetition() {
      return (inputsAsScanned_ || includeSink_.heldBack()) && isRepetitionAtStart();
   }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   // Running calls of a stream, the innermost first, which a younger one about the same
   // thing overtakes.
   struct RunningVlan;
   struct RunningVrf;
   // A VLAN's group, and how many VRFs it had before the event.
   struct Grouped {
      Pelk::Ptr<GroupByCollectionValueType0> group;
      size_t before;
   };
   // Which sinks of the join tree have anything to do or to say.
   enum class JoinWork : uint8_t { none, include, all };
   // All that a decision and its address are made of, as versions where it is much.
   struct EvaluatedInputs {
      uint32_t transitVrf = 0;
      uint32_t pegVlan = 0;
      uint32_t vrfToSBDVlan = 0;
      Mlag::MlagState mlagState{};
      Vxlan::VtiStatus const* status = nullptr;
      Lidra::IpAddr localVtepAddr;
      Lidra::IpAddr mlagVtepAddr;

      bool operator==(EvaluatedInputs const&) const = default;
   };

   ~TransitIntfSm() override;

   void checkArguments() const;
   void startInputs();
   template <typename Machine, typename Input>
   void startInput(Pelk::Ptr<Machine>& machine, Pelk::Ptr<Input const> const& input);
   template <typename F>
   void forEachInput(F f) const;

   // Whether the streams are open.
   bool streaming() const noexcept { return initialScanDone_ && !isBeingDeleted(); }
   // The status of the interface that carries EVPN, or null.
   Vxlan::VtiStatus const* vxlanStatus() const {
      if (vxlanStatusVersion_ != vtiStatusDir_->vtiStatus().version()) [[unlikely]] {
         findVxlanStatus();
      }
      return vxlanStatus_;
   }
   void findVxlanStatus() const;
   EvaluatedInputs inputsNow() const;
   // Every transit VRF is evaluated.
   void flattenTransitVrf(char const* function);
   inline bool refreshTransitIntf(L3::VrfName const& vrfName,
                                  TransitVrfWalk::Found const& found);
   inline bool isQuiet() const;
   // Whether nothing is written yet, and nobody would be told of an evaluation.
   bool isUnseen() const;
   // Whether the outputs are empty, and nobody but the machine will run before they are
   // reconciled.
   bool outputsStayFresh() const;
   bool isRepetitionAtStart();

   // The steps of the second merged stream, for its source.
   inline Grouped groupBy(uint16_t sbdVlan, L3::VrfName const& vrfName, bool addDel);
   inline bool isTransitVlan(GroupByCollectionValueType0 const& group,
                             L3::VrfName const& vrfName, Bridging::VlanId vlanId,
                             KnownInputs known) const;
   inline void writeJoins(Bridging::VlanId vlanId, bool enabled, bool const& overtaken);
   inline JoinWork joinWork(Bridging::VlanId vlanId, bool enabled) const;
   JoinWork joinWork(Gmp::VlanMembershipJoin const& joins, bool enabled) const;
   inline void writeTransitIntf(Bridging::VlanId vlanId, bool enabled,
                                bool const& overtaken);
   // The VTEP address that the MLAG state chooses.
   Lidra::IpGenAddr vtepAddr(Vxlan::VtiStatus const& status) const;

   // Inputs and outputs.
   Lidra::AddressFamily const addressFamily_;
   McastEvpnConfigPtr const mcastEvpnConfig_;
   VtiStatusDirPtr const vtiStatusDir_;
   MlagStatusPtr const mlagStatus_;
   TransitIntfCollPtr const transitIntfColl_;
   MembershipJoinStatusPtr const membershipJoinStatus_;
   PegVlanStatusPtr const pegVlanStatus_;
   Vorn::SmControl smControl_;
   Pelk::Ptr<Fennlog::TraceHandle> qtHandle_;

   // Progress of the start.
   bool initialized_ = false;
   bool synchronous_ = false;
   bool initialScanDone_ = false;
   Pelk::Ptr<InputSmScanState> inputSmScanState_;
   Pelk::Subscription<TransitIntfSm, InputSmScanState> scanStateSubscription_;
   Pelk::Ptr<OutputState> outputState_;

   // The pipeline's state.
   GroupByMap groupByAttr0_;
   GroupPages groupPages_; // of groupByAttr0_
   RunningVlan* runningVlans_ = nullptr;
   RunningVrf* runningVrfs_ = nullptr;
   // What the second scan of the mappings found when it began, and whether nothing has
   // changed since.
   EvaluatedInputs scannedInputs_;
   bool inputsAsScanned_ = false;
   bool outputsAreFresh_ = false;
   // The status that was last found, and the version of the directory then (which has
   // none of this number).
   mutable Vxlan::VtiStatus const* vxlanStatus_ = nullptr;
   mutable uint32_t vxlanStatusVersion_ = UINT32_MAX;

   // Input machines.
   Pelk::Ptr<McastEvpnConfigSm0> mcastEvpnConfigSm0_;
   Pelk::Ptr<VtiStatusDirSm1> vtiStatusDirSm1_;
   Pelk::Ptr<MlagStatusSm3> mlagStatusSm3_;
   Pelk::Ptr<PegVlanStatusSm4> pegVlanStatusSm4_;
};

} // namespace Irb::Multicast::Evpn
