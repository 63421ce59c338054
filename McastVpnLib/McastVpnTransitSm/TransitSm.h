#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "McastVpnLib/McastVpnTransitSm/TransitVrfWalk.h"
#include "bridging/VlanId.h"
#include "gmp/MembershipJoinStatus.h"
#include "l3/VrfName.h"
#include "lidra/AddressFamily.h"
#include "lidra/IpGenAddr.h"
#include "mlag/Status.h"
#include "pelk/CellBlocks.h"
#include "pelk/Entity.h"
#include "pelk/Ptr.h"
#include "routing/MulticastEvpnConfig.h"
#include "vxlan/VtiStatusDir.h"
#include "zin/HashMap2018.h"

#include <cstdint>
#include <memory>

namespace Irb::Multicast::Evpn {

// The transit reactor: keeps the transit interfaces of one address family, and the
// wildcard joins that make the switch forward there, in step with its inputs.
//
// It is driven by notifications. Each input attribute has a reactor, which calls a
// handler below; the handler reads what it needs from the inputs and writes the outputs
// at once:
//
//    VtiStatus.vrfToSBDVlan[vrf]   handleVrfToSBDVlan(vrf) -+
//    Config.transitVrf[vrf]        handleTransitVrf(vrf) ---+-> handleTransitVlan(vlan)
//    Status.mlagState              handleMlagState() -------+     -> updateTransitIntf
//    VtiStatus.*VtepAddr           handleVtepAddr()
//    VtiStatusDir.vtiStatus[intf]  both groups, for every VRF of the entry
//
// The inputs are owned by others and only read; the outputs are owned by the caller and
// stay as they are when the reactor goes. A reactor for IPv6 follows its inputs and
// writes nothing.
//
// Handlers are public so that the host can ask for a re-evaluation; each may be called
// at any time by who holds a use of the reactor meanwhile, and is idempotent.
//
// Whoever is notified of an output change may change the inputs from there, which is
// handled at once; the handler that was overtaken decides anew where it goes on. It may
// also drop the last use of the reactor, which then stays until the running dispatcher
// ends; that one stops between two handler calls.
//
// Errors: a mapped VLAN outside 1..4094 raises a Zin::RangeException from the handler
// that makes a VlanId of it; out of a notification it ends the process.
//
// Event thread only.
class MCASTVPNLIB_EXPORT TransitSm final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kAf = 258;
   static constexpr int16_t kMcastEvpnConfig = 259;
   static constexpr int16_t kVtiStatusDir = 260;
   static constexpr int16_t kMlagStatus = 261;
   static constexpr int16_t kTransitIntfColl = 262;
   static constexpr int16_t kMembershipJoinStatus = 263;
   static constexpr int16_t kInitialized = 264;
   static constexpr int16_t kVrfToSbdVlan = 265;
   static constexpr int16_t kSbdVlanToVrf = 266;

   // The VRFs last seen on one SBD VLAN.
   class MCASTVPNLIB_EXPORT SbdVlanToVrf final : public Pelk::Entity {
    public:
      // Attribute ids. Frozen.
      static constexpr int16_t kVlanId = 258;
      static constexpr int16_t kVrf = 259;

      struct VrfTag {
         static constexpr char const* name = "vrf";
         static constexpr uint32_t seed = 0x8f4b6d13;
         static constexpr bool firstInline = true;
      };
      using VrfSet = Zin::HashMap2018<VrfTag, L3::VrfName, Zin::Unit>;

      explicit SbdVlanToVrf(Bridging::VlanId vlanId) noexcept : vlanId_(vlanId) {}

      // The SBD VLAN; fixed.
      Bridging::VlanId vlanId() const noexcept { return vlanId_; }
      // The VRFs that were mapped to it when the reactor last looked.
      VrfSet const& vrf() const noexcept { return vrf_; }
      bool vrfHas(L3::VrfName const& vrf) const { return vrf_.contains(vrf); }
      // Each announces kVrf with the VRF as key, if the set changes.
      void vrfIs(L3::VrfName const& vrf);
      void vrfDel(L3::VrfName const& vrf);
      void vrfDelAll();

      static Zin::EntityType const& type() noexcept;
      Zin::EntityType const& entityType() const noexcept override { return type(); }

      // A reactor has many of them, and makes them in few heap blocks.
      static void* operator new(size_t size) {
         return Pelk::CellBlocks(1).allocate(size);
      }
      static void* operator new(size_t size, Pelk::CellBlocks& cells) {
         return cells.allocate(size);
      }
      static void operator delete(void* entry) noexcept {
         Pelk::CellBlocks::release(entry);
      }
      static void operator delete(void* entry, Pelk::CellBlocks&) noexcept {
         Pelk::CellBlocks::release(entry);
      }

    private:
      friend class TransitSm;

      // Whether it holds no VRF and nobody but one holder could tell it from a new one.
      bool isAsNew() const noexcept {
         return useCount() == 1 && subscribers() == 0 && vrf_.empty();
      }

      Bridging::VlanId vlanId_; // changes only where isAsNew()
      VrfSet vrf_;
      Pelk::Ptr<SbdVlanToVrf> nextSpare_; // of the reactor's
   };

   struct VrfToSbdVlanTag {
      static constexpr char const* name = "vrfToSbdVlan";
      static constexpr uint32_t seed = 0x1ad7f26e;
   };
   struct SbdVlanToVrfTag {
      static constexpr char const* name = "sbdVlanToVrf";
      static constexpr uint32_t seed = 0xc35e0894;
   };
   using VrfToSbdVlanMap =
      Zin::HashMap2018<VrfToSbdVlanTag, L3::VrfName, Bridging::VlanIdOrNone>;
   using SbdVlanToVrfMap =
      Zin::HashMap2018<SbdVlanToVrfTag, Bridging::VlanId, Pelk::Ptr<SbdVlanToVrf>>;

   // Makes the reactor, evaluates the inputs and switches notifications on.
   // transitSmFactory() (McastVpnLib/McastVpnLib.h) is the same.
   static Pelk::Ptr<TransitSm>
   TransitSmIs(Lidra::AddressFamily af,
               Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
               Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
               Pelk::Ptr<Mlag::Status const> const& mlagStatus,
               Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
               Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus);

   // Subscribes to the directory and to each status in it and evaluates the inputs, but
   // leaves the configuration and MLAG subscriptions to hasNotificationActiveIs(true).
   // Only vtiStatusDir may be null.
   TransitSm(Lidra::AddressFamily af,
             Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
             Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
             Pelk::Ptr<Mlag::Status const> const& mlagStatus,
             Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
             Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus);

   // --- inputs and outputs ---
   Lidra::AddressFamily af() const noexcept { return af_; }
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig() const {
      return mcastEvpnConfig_;
   }
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir() const {
      return vtiStatusDir_;
   }
   // Follows another directory from now on and re-evaluates every VRF of either.
   void vtiStatusDirIs(Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir);
   // Each is fixed.
   Pelk::Ptr<Mlag::Status const> const& mlagStatus() const { return mlagStatus_; }
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl() const {
      return transitIntfColl_;
   }
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus() const {
      return membershipJoinStatus_;
   }

   // --- state ---
   // Set once the start-up evaluation has run, for either family.
   bool initialized() const noexcept { return initialized_; }

   // The SBD VLAN last seen for each VRF.
   VrfToSbdVlanMap const& vrfToSbdVlan() const noexcept { return vrfToSbdVlan_; }
   Bridging::VlanIdOrNone vrfToSbdVlan(L3::VrfName const& vrf) const;
   void vrfToSbdVlanIs(L3::VrfName const& vrf, Bridging::VlanIdOrNone vlanId);
   void vrfToSbdVlanDel(L3::VrfName const& vrf);
   void vrfToSbdVlanDelAll();

   // The reverse: the VRFs last seen on each SBD VLAN.
   SbdVlanToVrfMap const& sbdVlanToVrf() const noexcept { return sbdVlanToVrf_; }
   Pelk::Ptr<SbdVlanToVrf> sbdVlanToVrf(Bridging::VlanId vlanId) const;
   bool sbdVlanToVrfHas(Bridging::VlanId vlanId) const;
   Pelk::Ptr<SbdVlanToVrf> sbdVlanToVrfIs(Bridging::VlanId vlanId);
   void sbdVlanToVrfDel(Bridging::VlanId vlanId);
   void sbdVlanToVrfDelAll();

   // --- lifecycle ---
   // Subscribes to the configuration and the MLAG status, or unsubscribes. Saying it
   // twice is the same as once. The VTI status subscriptions follow vtiStatusDir.
   void hasNotificationActiveIs(bool active);
   // The host's hook for reactors that outlive their source; there are none here.
   void zinDoZombieReactors(bool active);

   // --- handlers ---
   // Fills the tables from the VTI status, then evaluates every transit VRF.
   void handleInitialized();
   // The VRF became or ceased to be a transit VRF: evaluates its recorded SBD VLAN.
   void handleTransitVrf(L3::VrfName const& vrf);
   // The same, for the configuration's notification.
   void zin_handleMcastEvpnConfig_transitVrf(L3::VrfName const& vrf);
   // The VRF's SBD VLAN changed: evaluates the old VLAN, then the new one.
   void handleVrfToSBDVlan(L3::VrfName const& vrf);
   // Decides whether the SBD VLAN has a transit interface, and writes the decision.
   void handleTransitVlan(Bridging::VlanId vlanId);
   // Writes a decision: interface and join are there afterwards, or are not.
   void updateTransitIntf(Bridging::VlanId vlanId, bool enabled);
   // Gives every transit interface the VTEP address of now.
   void handleVtepAddr();
   // The VTEP address to announce: the pair's shared one while the MLAG peering is
   // active, else this switch's own; empty without a status of "Vxlan1".
   Lidra::IpGenAddr vtepAddr() const;
   // Evaluates every transit VRF's recorded SBD VLAN.
   void handleMlagState();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   class Guard;
   struct Reactors;
   class UnseenStart;

   ~TransitSm() override;

   // An entry of no VRF: a spare one, or a new one.
   Pelk::Ptr<SbdVlanToVrf> freshSbdVlanToVrf(Bridging::VlanId vlanId);
   void dropSpareSbdVlanToVrf() noexcept;
   // Whether anybody but the reactor's own dispatchers still uses it.
   bool referenced() const noexcept { return useCount() > guards_; }
   // The status of the interface that carries EVPN, or null. Not counted: for as long
   // as nobody is notified.
   Vxlan::VtiStatus const* vxlanStatus() const {
      if (!vtiStatusDir_) {
         return nullptr;
      }
      if (vxlanStatusVersion_ != vtiStatusDir_->vtiStatus().version()) [[unlikely]] {
         findVxlanStatus();
      }
      return vxlanStatus_;
   }
   void findVxlanStatus() const;
   // The VLAN that this status maps the VRF to now.
   Bridging::VlanIdOrNone mappedVlan(L3::VrfName const& vrf) const;
   // The same, and keeps the answer.
   Bridging::VlanIdOrNone mappedVlanKept(L3::VrfName const& vrf);

   // handleTransitVrf() and handleTransitVlan() for whoever knows of a VRF, at the
   // call, that it is a transit VRF; or null.
   void evaluateVrf(L3::VrfName const& vrf, bool isTransitVrf);
   void evaluateVlan(Bridging::VlanId vlanId, L3::VrfName const* transitVrf);
   bool isTransitVlan(Bridging::VlanId vlanId, L3::VrfName const* transitVrf) const;
   bool refreshTransitIntf(L3::VrfName const& transitVrf,
                           TransitVrfWalk::Found const& found);
   // Whether all of the join is there.
   bool isJoined(Gmp::VlanMembershipJoin const& joins) const;
   // Takes those VRFs out of the VLAN's record that are not mapped to it any more.
   void prune(Bridging::VlanId vlanId);

   Lidra::AddressFamily const af_;
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> mcastEvpnConfig_;
   Pelk::Ptr<Vxlan::VtiStatusDir const> vtiStatusDir_;
   Pelk::Ptr<Mlag::Status const> mlagStatus_;
   Pelk::Ptr<TransitIntfColl> transitIntfColl_;
   Pelk::Ptr<Gmp::MembershipJoinStatus> membershipJoinStatus_;

   bool initialized_ = false;
   VrfToSbdVlanMap vrfToSbdVlan_;
   SbdVlanToVrfMap sbdVlanToVrf_;
   // Empty entries that were removed, the last one first, which serve the next VLANs
   // that need one: a VRF that moves usually empties one entry and needs another. So
   // there are as many entries as VLANs were recorded at most, until
   // sbdVlanToVrfDelAll.
   Pelk::Ptr<SbdVlanToVrf> spareSbdVlanToVrf_;
   Pelk::CellBlocks sbdVlanToVrfCells_{4};

   // The status that was last found, and the version of the directory then.
   static constexpr uint32_t kNoVersion = UINT32_MAX;
   mutable Vxlan::VtiStatus const* vxlanStatus_ = nullptr;
   mutable uint32_t vxlanStatusVersion_ = kNoVersion;
   // The VLAN of the VRF that moved last, and the version of that status's map then: it
   // is asked for several times.
   struct Mapping {
      uint32_t version = kNoVersion;
      Bridging::VlanIdOrNone vlanId;
      L3::VrfName vrf;
   };
   mutable Mapping lastMapping_;

   uint32_t guards_ = 0;     // uses that running dispatchers hold
   uint32_t mappings_ = 0;   // running calls of handleVrfToSBDVlan
   uint32_t dispatches_ = 0; // begun so far: tells a handler that it was overtaken
   std::unique_ptr<Reactors> reactors_;
};

} // namespace Irb::Multicast::Evpn
