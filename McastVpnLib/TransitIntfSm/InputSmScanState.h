#pragma once

#include "McastVpnLib/Export.h"
#include "pelk/Entity.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// Which of a dataflow machine's inputs were scanned once: a flag a source stream, set
// by the input scan that feeds it. The machine follows it. Flags are never taken back.
// Event thread only.
class MCASTVPNLIB_EXPORT InputSmScanState final : public Pelk::Entity {
 public:
   // Attribute ids. Frozen.
   static constexpr int16_t kVtiStatusStreamScan = 131;
   static constexpr int16_t kPegVlanStreamScan = 132;
   static constexpr int16_t kMlagStreamScan = 133;
   static constexpr int16_t kVtepAddrChangeStreamScan = 134;
   static constexpr int16_t kTransitCfgStreamScan = 135;
   static constexpr int16_t kIdle = 136;

   // Each says whether the scan that feeds the stream of that name has done its part.
   bool vtiStatusStreamScan() const noexcept { return vtiStatusStreamScan_; }
   bool pegVlanStreamScan() const noexcept { return pegVlanStreamScan_; }
   bool mlagStreamScan() const noexcept { return mlagStreamScan_; }
   bool vtepAddrChangeStreamScan() const noexcept { return vtepAddrChangeStreamScan_; }
   bool transitCfgStreamScan() const noexcept { return transitCfgStreamScan_; }
   // All inputs were scanned and the streams are open; no more than that.
   bool idle() const noexcept { return idle_; }

   // Each announces its own id if the flag changes.
   void vtiStatusStreamScanIs(bool scanned);
   void pegVlanStreamScanIs(bool scanned);
   void mlagStreamScanIs(bool scanned);
   void vtepAddrChangeStreamScanIs(bool scanned);
   void transitCfgStreamScanIs(bool scanned);
   void idleIs(bool idle);

   // Announces every scan flag that is set, in the order of the ids, without a change.
   void republish();

   static Zin::EntityType const& type() noexcept;
   Zin::EntityType const& entityType() const noexcept override { return type(); }

 private:
   bool vtiStatusStreamScan_ = false;
   bool pegVlanStreamScan_ = false;
   bool mlagStreamScan_ = false;
   bool vtepAddrChangeStreamScan_ = false;
   bool transitCfgStreamScan_ = false;
   bool idle_ = false;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
