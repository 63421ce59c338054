#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputScan.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusSm2.h"
#include "lidra/IntfId.h"
#include "vxlan/VtiStatusDir.h"
#include "zin/HashMap2018.h"
#include "zin/Optional.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// What the two scans of the directory have in common.
struct MCASTVPNLIB_EXPORT DirectoryScan {
   using Machine = VtiStatusDirSm1;
   using Bookmark = Lidra::IntfId;

   static constexpr char const* kUnit = "child";

   static Pelk::TraceHandler const& handler();
   static void versionStore(Machine&) {} // the children keep the versions
   static Vxlan::VtiStatusDir::VtiStatusMap const& collection(Machine const& machine);
};

struct MCASTVPNLIB_EXPORT InputScan1 : DirectoryScan {
   static constexpr char const* kFunction = "doInputScan1";
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-VtiStatusDirSm1InputScanTask1";

   static bool scanned(InputSmScanState const& state) {
      return state.vtepAddrChangeStreamScan();
   }
   static void scannedIs(InputSmScanState& state) {
      state.vtepAddrChangeStreamScanIs(true);
   }
   static bool item(Machine& machine, Bookmark intf);
};

struct MCASTVPNLIB_EXPORT InputScan3 : DirectoryScan {
   static constexpr char const* kFunction = "doInputScan3";
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-VtiStatusDirSm1InputScanTask3";

   static bool scanned(InputSmScanState const& state) {
      return state.vtiStatusStreamScan();
   }
   static void scannedIs(InputSmScanState& state) { state.vtiStatusStreamScanIs(true); }
   static bool item(Machine& machine, Bookmark intf);
};

extern template class InputScan<InputScan1>;
extern template class InputScan<InputScan3>;

// Scans and follows which tunnel interfaces there are, and has a child for the status
// of each. Scan 1 feeds the VTEP address stream, scan 3 the VTI status stream; either
// makes the children that are not there, and runs theirs. A child whose scan was
// interrupted interrupts its parent's at the same interface.
//
// See InputScan.h for the scans and InputSm.h for the rest. Event thread only.
class MCASTVPNLIB_EXPORT VtiStatusDirSm1 final
   : public InputSm<VtiStatusDirSm1, Vxlan::VtiStatusDir> {
 public:
   using StatusPtr = Pelk::Ptr<Vxlan::VtiStatus const>;

   struct ChildrenName {
      static constexpr char const* name = "childSmVtiStatusVxlanVtiStatusPtrConst";
      static constexpr uint32_t seed = 0x2f90b56e;
   };
   using Children =
      Zin::HashMap2018<ChildrenName, Lidra::IntfId, Pelk::Ptr<VtiStatusSm2>>;

   static constexpr char const* kUnit = DirectoryScan::kUnit;

   explicit VtiStatusDirSm1(Pelk::Ptr<Vxlan::VtiStatusDir const> en);

   void doInitializeTask() override;
   void doInputScan() override;
   void hasNotificationActiveIs(bool active) override;
   void zinDoZombieReactors(bool zombie) override;
   // The input's notifications.
   void enDispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                   int16_t attributeId, void const* key, void const* value) noexcept;
   // Sees to it that the interface has a child of its own status, or none if it has no
   // status: a child that is not needed any more withdraws what it reported and goes.
   void handleVtiStatus1(Lidra::IntfId intf);
   void handleVtiStatus3(Lidra::IntfId intf);
   // The same, and then the child's scan.
   void handleVtiStatus1Reactor(Lidra::IntfId intf);
   void handleVtiStatus3Reactor(Lidra::IntfId intf);
   // Withdraws all that the children reported; they go.
   void doDeleteAll();

   // What the children report goes to the streams.
   void onChildEvent1(Lidra::IntfId intf, Zin::Optional<StatusPtr> const& vtiStatus);
   void onChildEvent3(Lidra::IntfId intf, L3::VrfName const& vrfName,
                      Zin::Optional<Bridging::VlanIdOrNone> const& oldSbdVlan,
                      Zin::Optional<Bridging::VlanIdOrNone> const& newSbdVlan);

   // --- children ---
   Children const& childSmVtiStatusVxlanVtiStatusPtrConst() const { return children_; }
   // The interface's child, or null.
   Pelk::Ptr<VtiStatusSm2>
   childSmVtiStatusVxlanVtiStatusPtrConst(Lidra::IntfId intf) const;
   // The child of this status: the one that is there, or a new one, in the place of
   // one of another status.
   Pelk::Ptr<VtiStatusSm2>
   childSmVtiStatusVxlanVtiStatusPtrConstIs(StatusPtr const& vtiStatus);
   void childSmVtiStatusVxlanVtiStatusPtrConstDel(Lidra::IntfId intf);
   void childSmVtiStatusVxlanVtiStatusPtrConstDelAll();
   // The child of the interface that carries EVPN, or null.
   VtiStatusSm2 const* vxlanChild() const noexcept { return vxlanChild_; }

   // --- scan 1 ---
   void doInputScan1() { scan1_.scan(); }
   uint32_t inputScanState1() const { return static_cast<uint32_t>(scan1_.state()); }
   Lidra::IntfId inputScanBookmark1() const { return scan1_.bookmark(); }
   bool inputScanComplete1() const { return scan1_.isComplete(); }
   bool shouldYield1() const { return scan1_.shouldYield(); }
   bool inTask1() const { return scan1_.inTask(); }
   Pelk::Ptr<Kolm::Task> const& task1() const { return scan1_.task(); }
   Pelk::Ptr<Kolm::Task> const& task1Is(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                        Kolm::TaskPriority priority,
                                        Pelk::String const& name) {
      return scan1_.taskIs(scheduler, priority, name);
   }
   void task1Del() { scan1_.taskDel(); }
   void task1Dispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                      int16_t attributeId, void const* key,
                      void const* value) noexcept {
      scan1_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }

   // --- scan 3 ---
   void doInputScan3() { scan3_.scan(); }
   uint32_t inputScanState3() const { return static_cast<uint32_t>(scan3_.state()); }
   Lidra::IntfId inputScanBookmark3() const { return scan3_.bookmark(); }
   bool inputScanComplete3() const { return scan3_.isComplete(); }
   bool shouldYield3() const { return scan3_.shouldYield(); }
   bool inTask3() const { return scan3_.inTask(); }
   Pelk::Ptr<Kolm::Task> const& task3() const { return scan3_.task(); }
   Pelk::Ptr<Kolm::Task> const& task3Is(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                        Kolm::TaskPriority priority,
                                        Pelk::String const& name) {
      return scan3_.taskIs(scheduler, priority, name);
   }
   void task3Del() { scan3_.taskDel(); }
   void task3Dispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                      int16_t attributeId, void const* key,
                      void const* value) noexcept {
      scan3_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void tasksDel();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   ~VtiStatusDirSm1() override;

   // Follows what the directory has for the interface now.
   void followStatus(Lidra::IntfId intf);
   // Takes the interface's child out of the children, or null.
   Pelk::Ptr<VtiStatusSm2> childDetach(Lidra::IntfId intf);

   Children children_;
   VtiStatusSm2 const* vxlanChild_ = nullptr;
   InputScan<InputScan1> scan1_;
   InputScan<InputScan3> scan3_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
