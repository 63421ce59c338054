#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/KnownInputs.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputScan.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputSm.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "l3/VrfName.h"
#include "routing/MulticastEvpnConfig.h"
#include "zin/Optional.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

class McastEvpnConfigSm0;

struct MCASTVPNLIB_EXPORT InputScan0 {
   using Machine = McastEvpnConfigSm0;
   using Bookmark = L3::VrfName;

   static constexpr char const* kFunction = "doInputScan0";
   static constexpr char const* kUnit = "transitVrf";
   static constexpr char const* kTask =
      "Irb::Multicast::Evpn::TransitIntfSm-McastEvpnConfigSm0InputScanTask0";

   static Pelk::TraceHandler const& handler();
   static bool scanned(InputSmScanState const& state) {
      return state.transitCfgStreamScan();
   }
   static void scannedIs(InputSmScanState& state) {
      state.transitCfgStreamScanIs(true);
   }
   static void versionStore(Machine& machine);
   static bool isRepetition(Machine const& machine);
   static Routing::Multicast::Evpn::Config::TransitVrfSet const&
   collection(Machine const& machine);
   static bool item(Machine& machine, Bookmark const& vrf, Zin::Unit value);
};

extern template class InputScan<InputScan0>;

// Scans and follows which VRFs are configured as transit VRFs. See InputScan.h for the
// scan and InputSm.h for the rest. Event thread only.
class MCASTVPNLIB_EXPORT McastEvpnConfigSm0 final
   : public InputSm<McastEvpnConfigSm0, Routing::Multicast::Evpn::Config> {
 public:
   explicit McastEvpnConfigSm0(Pelk::Ptr<Routing::Multicast::Evpn::Config const> en);

   void doInitializeTask() override { scan0_.initializeTask(); }
   void doInputScan() override;
   // The input's notifications.
   void enDispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                   int16_t attributeId, void const* key, void const* value) noexcept;
   // Hands the VRF to the configuration stream, present or not.
   void handleTransitVrf0(L3::VrfName const& vrf);
   // The same for whoever knows whether it is there.
   void handleTransitVrf0(L3::VrfName const& vrf,
                          Zin::Optional<::FlumaCode::Unit> const& present,
                          KnownInputs known = {});
   void handleTransitVrf0Reactor(L3::VrfName const& vrf);
   // Hands every VRF that is still there to the stream as gone. A change that was
   // missed before is a fatal assertion.
   void doDeleteAll();

   // --- scan 0 ---
   void doInputScan0() { scan0_.scan(); }
   uint32_t inputScanState0() const { return static_cast<uint32_t>(scan0_.state()); }
   L3::VrfName const& inputScanBookmark0() const { return scan0_.bookmark(); }
   bool inputScanComplete0() const { return scan0_.isComplete(); }
   bool shouldYield0() const { return scan0_.shouldYield(); }
   bool inTask0() const { return scan0_.inTask(); }
   Pelk::Ptr<Kolm::Task> const& task0() const { return scan0_.task(); }
   Pelk::Ptr<Kolm::Task> const& task0Is(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                                        Kolm::TaskPriority priority,
                                        Pelk::String const& name) {
      return scan0_.taskIs(scheduler, priority, name);
   }
   void task0Del() { scan0_.taskDel(); }
   void task0Dispatch(Pelk::Publisher* publisher, Pelk::Subscriber* subscriber,
                      int16_t attributeId, void const* key,
                      void const* value) noexcept {
      scan0_.taskDispatch(publisher, subscriber, attributeId, key, value);
   }
   void tasksDel() { task0Del(); }

   // Of the configuration's transit VRFs, as last seen.
   uint32_t versionTransitVrf() const { return versionTransitVrf_; }

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   friend InputScan0;
   ~McastEvpnConfigSm0() override;

   InputScan<InputScan0> scan0_;
   uint32_t versionTransitVrf_ = 0;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
