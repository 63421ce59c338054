#pragma once

#include "agent/OutputRecorder.h"
#include "agent/State.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Agent {

// Follows the inputs of a state, and knows which VLANs the changes concern that were
// made since it was last asked to forget.
class TouchedVlans {
 public:
   explicit TouchedVlans(State const& state);
   TouchedVlans(TouchedVlans const&) = delete;
   TouchedVlans& operator=(TouchedVlans const&) = delete;

   void forget();

   // How many changes there were.
   size_t changes() const noexcept { return changes_; }
   // Whether one of them concerns the VLAN.
   bool has(uint16_t vlanId) const { return areAll_ || vlans_.contains(vlanId); }
   // Whether a status of "Vxlan1" came or went, or took the place of another, and maps,
   // or mapped, a VRF to the VLAN.
   bool hasByStatus(uint16_t vlanId) const { return byStatus_.contains(vlanId); }

 private:
   void changed(std::string const& path);
   void readMapping();

   State const& state_;
   std::vector<std::unique_ptr<OutputRecorder>> recorders_;
   std::map<std::string, uint16_t> mapping_; // of "Vxlan1", as it was last
   size_t changes_ = 0;
   bool areAll_ = false;
   std::set<uint16_t> vlans_;
   std::set<uint16_t> byStatus_;
};

} // namespace Agent
