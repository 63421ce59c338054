#pragma once

#include "agent/Options.h"
#include "agent/State.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// The SBD VLANs as the inputs of a state have them now.
class SbdVlans {
 public:
   struct Vrf {
      bool isTransit;
      std::string name;
   };
   using Vrfs = std::vector<Vrf>; // transit VRFs first, then by name

   explicit SbdVlans(State const& state) : SbdVlans(state, nullptr) {}
   // Only these.
   SbdVlans(State const& state, std::set<uint16_t> const& only)
      : SbdVlans(state, &only) {}

   // The VRFs that the status of "Vxlan1" maps to a VLAN, of each that has one.
   std::map<uint16_t, Vrfs> const& vrfs() const noexcept { return vrfs_; }
   Vrfs const& vrfsOf(uint16_t vlanId) const;

 private:
   SbdVlans(State const& state, std::set<uint16_t> const* only);

   std::map<uint16_t, Vrfs> vrfs_;
};

// Whether the reactor writes joins, as its toggle says.
bool joinsEnabled();

// Some VRFs as a table shows them; with an asterisk behind each transit VRF.
enum class MarkTransit { no, yes };
std::string vrfsText(SbdVlans::Vrfs const& vrfs, MarkTransit mark = MarkTransit::yes);

// A name as it stands, or in quotes where it could be misread.
std::string nameForPeople(std::string const& name);

// The VLAN of a routed VLAN interface; 0 for any other interface.
uint16_t vlanOfIntf(std::string_view name);

} // namespace Agent
