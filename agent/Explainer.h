#pragma once

#include "agent/Conditions.h"
#include "agent/Options.h"
#include "agent/SbdVlans.h"
#include "agent/State.h"
#include "agent/verify/Inputs.h"
#include "agent/verify/Outputs.h"

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Agent {

// What one machine makes of one VLAN.
struct Explanation {
   Verify::Machine machine;
   std::vector<Condition> conditions;
   Verdict verdict;
   std::string addr; // of the transit interface, if there is to be one
   Ways enabling;
   Changes disabling;
   bool agrees; // what stands in the outputs is what the machine would write
};

// What there is to say of a state document: which VLANs are concerned, and what either
// machine makes of each. Keeps references to what it is made of.
class Explainer {
 public:
   Explainer(State const& state, Options const& options);

   // Those that the options name, else all that a VRF maps to or that have an output.
   std::set<uint16_t> chosen() const;
   // The VRFs that map to what is no VLAN, with the number.
   std::map<std::string, uint16_t> outOfRange() const;
   // The interfaces in the outputs that belong to no VLAN, with their addresses; none
   // if the options name what they ask for.
   std::map<std::string, std::string> strangers() const;
   // What the options name and no SBD VLAN has.
   std::vector<std::string> unmapped() const;

   SbdVlans const& vlans() const noexcept { return vlans_; }
   // What stands in the outputs; empty for nothing.
   std::string present(std::string const& key) const;
   Explanation explanation(uint16_t vlanId, Verify::Machine machine) const;

 private:
   bool isAskedFor(std::string const& vrf) const;
   size_t mostWays(VlanFacts const& facts) const;
   uint16_t vlanOf(std::string const& vrf) const;
   Verify::Inputs inputs() const;

   State const& state_;
   Options const& options_;
   SbdVlans const vlans_;
   KnownVrfs const known_;
   Verify::Outputs const present_;
   std::array<Verify::Outputs, 2> const expected_;
};

} // namespace Agent
