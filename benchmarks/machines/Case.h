#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

// What the programs of machines_bench compute, and from what.
namespace Bench::Machines {

// Which rule a program computes.
enum class Rule {
   reactor,  // TransitSm: a VLAN with a transit VRF
   dataflow, // TransitIntfSm: a PEG VLAN with exactly one VRF, which is a transit VRF
};

inline constexpr uint32_t kLocal = 0x0a000001;
inline constexpr uint32_t kShared = 0x0a000063;
inline constexpr int kStateActive = 3;
inline constexpr int kStateWithheld = 4;

std::string vrfName(int number);

// The inputs at the beginning. VRFs are numbered from 1, all of them are transit VRFs;
// the first ones have a VLAN of their own each, the others share the VLANs above.
struct Case {
   int vrfs = 0;
   int alone = 0; // VRFs with a VLAN of their own
   int pegVlans = 0;

   // One VRF a VLAN, and one PEG VLAN without a VRF, for moves.
   static Case onePerVlan(int vlans) {
      return {.vrfs = vlans - 1, .alone = vlans - 1, .pegVlans = vlans};
   }
   // Most VRFs share a VLAN. All that get an interface are on the first 1,000 VLANs,
   // so what is published does not depend on the number of PEG VLANs.
   static Case shared(int vrfs, int pegVlans) {
      return {.vrfs = vrfs, .alone = 1000, .pegVlans = pegVlans};
   }

   uint16_t vlanOf(int vrf) const {
      int const rest = 4094 - alone;
      return static_cast<uint16_t>(vrf <= alone ? vrf
                                                : alone + 1 + (vrf - alone - 1) % rest);
   }
};

// What a program has published, in a form that all of them can be compared in.
struct Outputs {
   std::map<std::string, uint32_t> intfs; // addresses by interface
   std::set<std::string> joins;           // one line a leaf of the join tree

   bool operator==(Outputs const&) const = default;

   void intf(uint16_t vlan, uint32_t addr);
   // The include join of "Null0" for any group and source.
   void join(uint16_t vlan);
};

// Ends the process with a message if the outputs are not what they should be.
void requireEqual(Outputs const& outputs, Outputs const& expected,
                  std::string const& where);

// The processor time of this thread, so that others' work is not in it.
double seconds();

} // namespace Bench::Machines
