#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/inputs/ScanWalk.h"
#include "McastVpnLib/TransitIntfSm/inputs/VlanVrfIndex.h"
#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "pelk/Ptr.h"
#include "pelk/Subscription.h"
#include "vorn/InputStateMachine.h"
#include "vxlan/VtiStatus.h"
#include "zin/HashMap2018.h"
#include "zin/Optional.h"

#include <cstdint>
#include <memory>

namespace Irb::Multicast::Evpn {
class TransitIntfSm;
}

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

class VtiStatusDirSm1;

// Scans and follows the status of one tunnel interface, as a child of the directory's
// machine: it has scans of its own, which run inside its parent's and with its parent's
// tasks, and the parent's in-reactor mark.
//
// It remembers the VLAN of every VRF whenever it handles the VRF, whether the stream is
// open or not: that is the old VLAN of the next change. A machine that is made while
// the streams are open notes all VLANs at once, since its parent's streams read them
// from the status from then on.
//
// Event thread only. Goes with its parent, or when its interface does.
class MCASTVPNLIB_EXPORT VtiStatusSm2 final : public Vorn::Gen::InputStateMachine {
 public:
   struct RememberedName {
      static constexpr char const* name = "rememberedSbdVlan";
      // VRFs are withdrawn in the order in which the status has them.
      static constexpr uint32_t seed = Vxlan::VtiStatus::VrfToSBDVlanTag::seed;
   };
   struct SbdVlan {
      Bridging::VlanIdOrNone vlanId;
      bool handled = true; // else only noted, when the machine was made
   };
   using Remembered = Zin::HashMap2018<RememberedName, L3::VrfName, SbdVlan>;

   explicit VtiStatusSm2(Pelk::Ptr<Vxlan::VtiStatus const> en);

   Pelk::Ptr<Vxlan::VtiStatus const> const& en() const noexcept { return en_; }
   // Set before anything else is asked.
   VtiStatusDirSm1* parent() const noexcept { return parent_; }
   void parentIs(VtiStatusDirSm1* parent) noexcept { parent_ = parent; }
   Evpn::TransitIntfSm* root() const noexcept;
   Lidra::IntfId intfId() const noexcept { return en_->intfId(); }

   // --- what an input machine does (vorn/InputStateMachine.h) ---
   bool initialScanDone() const override;
   bool synchronous() const override;
   void handleInitialized() override;
   void hasNotificationActiveIs(bool active) override;
   // Nothing: the tasks are the parent's.
   void doInitializeTask() override {}
   void doInputScan() override;
   bool inReactor() const noexcept override;
   void inReactorIs(bool inReactor) noexcept override;

   // The status's notification entry points.
   class on_en {
    public:
      explicit on_en(VtiStatusSm2* sm) noexcept;

      void follow(Pelk::Ptr<Vxlan::VtiStatus const> const& status);
      // An attribute of the status changed.
      void on_child(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                    int16_t attributeId, void const* key, void const* value) noexcept;
      // The status is let go of.
      void on_shutdown();

    private:
      VtiStatusSm2* sm_;
      Pelk::Subscription<on_en, Vxlan::VtiStatus> subscription_;
   };

   // Reports the interface, with its status, to the VTEP address stream.
   void handleLocalVtepAddrMAmlagVtepAddr1();
   void handleLocalVtepAddrMAmlagVtepAddr1Reactor();
   // Reports the VRF, with its VLAN of before and of now, to the VTI status stream.
   void handleVrfToSBDVlan3(L3::VrfName const& vrf);
   // The same for whoever knows the VLAN of now, and perhaps that it is remembered.
   void handleVrfToSBDVlan3(L3::VrfName const& vrf,
                            Zin::Optional<Bridging::VlanIdOrNone> const& now,
                            bool isRemembered);
   void handleVrfToSBDVlan3Reactor(L3::VrfName const& vrf);

   // One slice of each scan; false if it was interrupted.
   bool doInputScan1();
   bool doInputScan3();
   uint32_t inputScanState1() const { return static_cast<uint32_t>(state1_); }
   uint32_t inputScanState3() const { return static_cast<uint32_t>(state3_); }
   L3::VrfName const& inputScanBookmark3() const { return bookmark3_; }
   // The first pass is over, and the second has not begun.
   bool secondScan3IsToCome() const noexcept {
      return initialized() && state3_ == ScanState::initialComplete &&
             !secondScan3Began_;
   }
   bool inputScanComplete1() const { return isComplete(state1_); }
   bool inputScanComplete3() const { return isComplete(state3_); }
   bool shouldYield1() const;
   bool shouldYield3() const;
   bool inTask1() const;
   bool inTask3() const;

   // Withdraws all that was reported: the interface, then each VRF. A change of the
   // map that was missed is a fatal assertion.
   void doDeleteAll();
   // Follows nothing any more, whoever may still hold a use.
   void shutdown();

   // Of vrfToSBDVlan, as last seen.
   uint32_t versionVrfToSBDVlan() const { return versionVrfToSBDVlan_; }
   Remembered const& remembered() const noexcept { return remembered_; }

   // The VRFs by VLAN; null while it is not known to say what vrfToSBDVlan does (before
   // the first scan is over, or while a change was not told yet), and for an interface
   // that nobody asks about.
   VlanVrfIndex const* currentIndex() const noexcept;
   // How many VRFs are remembered on the VLAN; none for an interface that nobody asks
   // about.
   size_t vrfsOn(Bridging::VlanIdOrNone vlanId) const noexcept {
      return index_ ? index_->vrfs(vlanId) : 0;
   }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   ~VtiStatusSm2() override;

   bool isActive() const noexcept;
   bool isComplete(ScanState state) const {
      return state == ScanState::complete ||
             (state == ScanState::initialComplete && !initialScanDone());
   }
   ScanState completeState() const {
      return initialScanDone() ? ScanState::complete : ScanState::initialComplete;
   }
   // Every VRF was handled, and every change was told: the map says what is remembered.
   bool isKnown() const noexcept {
      return everyVrfHandled_ && toldVersion_ == en_->vrfToSBDVlan().version();
   }
   void versionStore() { versionVrfToSBDVlan_ = en_->vrfToSBDVlan().version(); }
   void noteAll();
   // Remembers the VRF's VLAN of now and returns the one of before.
   Zin::Optional<Bridging::VlanIdOrNone>
   remember(L3::VrfName const& vrf, Zin::Optional<Bridging::VlanIdOrNone> const& now);

   Pelk::Ptr<Vxlan::VtiStatus const> en_;
   VtiStatusDirSm1* parent_ = nullptr;
   on_en onEn_;

   ScanState state1_ = ScanState::notStarted;
   ScanState state3_ = ScanState::notStarted;
   bool secondScan3Began_ = false;
   L3::VrfName bookmark3_;
   uint64_t scanned3_ = 0; // by the current pass
   uint32_t versionVrfToSBDVlan_ = 0;

   Remembered remembered_;
   std::unique_ptr<VlanVrfIndex> index_;
   bool everyVrfHandled_ = false;
   uint32_t toldVersion_ = 0; // where the map's version is if all changes were told
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
