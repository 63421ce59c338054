#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/KnownInputs.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputScan.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputSm.h"
#include "bridging/VlanId.h"
#include "routing/PegVlanStatus.h"
#include "zin/Optional.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

class PegVlanStatusSm4;

struct MCASTVPNLIB_EXPORT InputScan4 {
   using Machine = PegVlanStatusSm4;
   using Bookmark = Bridging::VlanId;

   static constexpr char const* kFunction = "doInputScan4";
   static constexpr char const* kUnit = "pegVlan";
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-PegVlanStatusSm4InputScanTask4";

   static Pelk::TraceHandler const& handler();
   static bool scanned(InputSmScanState const& state) {
      return state.pegVlanStreamScan();
   }
   static void scannedIs(InputSmScanState& state) { state.pegVlanStreamScanIs(true); }
   static void versionStore(Machine& machine);
   static bool isRepetition(Machine const& machine);
   static Routing::Multicast::PegVlanStatus::PegVlanMap const&
   collection(Machine const& machine);
   static bool item(Machine& machine, Bookmark const& vlanId,
                    Routing::Multicast::PegVlan const& pegVlan);
};

extern template class InputScan<InputScan4>;

// Scans and follows which VLANs are PEG VLANs. See InputScan.h for the
// scan and InputSm.h for the rest. Event thread only.
class MCASTVPNLIB_EXPORT PegVlanStatusSm4 final
   : public InputSm<PegVlanStatusSm4, Routing::Multicast::PegVlanStatus> {
 public:
   explicit PegVlanStatusSm4(Pelk::Ptr<Routing::Multicast::PegVlanStatus const> en);

   void doInitializeTask() override { scan4_.initializeTask(); }
   void doInputScan() override;
   // The input's notifications.
   void enDispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                   int16_t attributeId, void const* key, void const* value) noexcept;
   // Hands the VLAN to the PEG VLAN stream, with its record if there is one.
   void handlePegVlan4(Bridging::VlanId vlanId);
   // The same for whoever knows its record.
   void handlePegVlan4(Bridging::VlanId vlanId,
                       Zin::Optional<Routing::Multicast::PegVlan> const& present,
                       KnownInputs known = {});
   void handlePegVlan4Reactor(Bridging::VlanId vlanId);
   // Hands every VLAN that is still there to the stream as gone. A change that was
   // missed before is a fatal assertion.
   void doDeleteAll();

   // --- scan 4 ---
   void doInputScan4() { scan4_.scan(); }
   uint32_t inputScanState4() const { return static_cast<uint32_t>(scan4_.state()); }
   Bridging::VlanId const& inputScanBookmark4() const { return scan4_.bookmark(); }
   bool inputScanComplete4() const { return scan4_.isComplete(); }
   bool shouldYield4() const { return scan4_.shouldYield(); }
   bool inTask4() const { return scan4_.inTask(); }
   Pelk::Ptr<Kolm::Task> const& task4() const { return scan4_.task(); }
   Pelk::Ptr<Kolm::Task> const& task4Is(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                        Kolm::TaskPriority priority,
                                        Pelk::String const& name) {
      return scan4_.taskIs(scheduler, priority, name);
   }
   void task4Del() { scan4_.taskDel(); }
   void task4Dispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                      int16_t attributeId, void const* key,
                      void const* value) noexcept {
      scan4_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void tasksDel() { task4Del(); }

   // Of the PEG VLANs, as last seen.
   uint32_t versionPegVlan() const { return versionPegVlan_; }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   friend InputScan4;
   ~PegVlanStatusSm4() override;

   InputScan<InputScan4> scan4_;
   uint32_t versionPegVlan_ = 0;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
