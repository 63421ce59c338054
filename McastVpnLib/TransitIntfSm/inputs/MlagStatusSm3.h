#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputScan.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputSm.h"
#include "mlag/Status.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

class MlagStatusSm3;

struct MCASTVPNLIB_EXPORT InputScan2 {
   using Machine = MlagStatusSm3;
   using Bookmark = NoBookmark;

   static constexpr char const* kFunction = "doInputScan2";
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-MlagStatusSm3InputScanTask2";

   static Pelk::TraceHandler const& handler();
   static bool scanned(InputSmScanState const& state) { return state.mlagStreamScan(); }
   static void scannedIs(InputSmScanState& state) { state.mlagStreamScanIs(true); }
   static void versionStore(Machine&) {} // a single value has none
   static void single(Machine& machine);
};

extern template class InputScan<InputScan2>;

// Scans, in one step, and follows the state of the MLAG peering. See InputScan.h for
// the scan and InputSm.h for the rest. Event thread only.
class MCASTVPNLIB_EXPORT MlagStatusSm3 final
   : public InputSm<MlagStatusSm3, Mlag::Status> {
 public:
   explicit MlagStatusSm3(Pelk::Ptr<Mlag::Status const> en);

   void doInitializeTask() override { scan2_.initializeTask(); }
   void doInputScan() override;
   // The input's notifications.
   void enDispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                   int16_t attributeId, void const* key, void const* value) noexcept;
   // Hands the state to the MLAG stream.
   void handleMlagState2();
   void handleMlagState2Reactor();
   // Hands the state to the stream once more: a single value cannot go.
   void doDeleteAll();

   // --- scan 2 ---
   void doInputScan2() { scan2_.scan(); }
   uint32_t inputScanState2() const { return static_cast<uint32_t>(scan2_.state()); }
   bool inputScanComplete2() const { return scan2_.isComplete(); }
   bool shouldYield2() const { return scan2_.shouldYield(); }
   bool inTask2() const { return scan2_.inTask(); }
   Pelk::Ptr<Kolm::Task> const& task2() const { return scan2_.task(); }
   Pelk::Ptr<Kolm::Task> const& task2Is(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                        Kolm::TaskPriority priority,
                                        Pelk::String const& name) {
      return scan2_.taskIs(scheduler, priority, name);
   }
   void task2Del() { scan2_.taskDel(); }
   void task2Dispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                      int16_t attributeId, void const* key,
                      void const* value) noexcept {
      scan2_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void tasksDel() { task2Del(); }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   ~MlagStatusSm3() override;

   InputScan<InputScan2> scan2_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
