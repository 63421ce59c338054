#pragma once

#include "agent/Options.h"
#include "agent/SbdVlans.h"
#include "agent/State.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// The rule of a machine as conditions that one can look at one by one, and what would
// have to change for them to turn.
namespace Agent {

// What the rules look at for one VLAN.
struct VlanFacts {
   uint16_t vlanId;
   bool hasStatus;      // of "Vxlan1"
   SbdVlans::Vrfs vrfs; // mapped to the VLAN, transit VRFs first
   bool isPegVlan;
   uint32_t mlagState;
   Lidra::AddressFamily af;
   bool joinsEnabled; // the reactor's toggle
};
VlanFacts factsOf(uint16_t vlanId, SbdVlans const& vlans, State const& state,
                  Options const& options);

struct Condition {
   // What it is needed for.
   enum class For { both, join, intf };

   std::string_view type;   // CamelCase; programs depend on it
   bool status;             // whether it holds
   std::string_view reason; // CamelCase, one for each status and cause
   std::string message;     // for people, with the value seen
   For neededFor = For::both;
};
// In the order in which a person would ask. A transit VLAN is one of which all hold.
std::vector<Condition> conditionsOf(VlanFacts const& facts, Verify::Machine machine);

// What a table says of an output that the VLAN does not have by the machine's rule: the
// first condition that does not hold, in few words. Empty if it has it.
std::string whyNo(Condition::For output, VlanFacts const& facts,
                  Verify::Machine machine);

struct Verdict {
   bool join;
   bool intf;
};
Verdict verdictOf(std::vector<Condition> const& conditions);

// One change of the inputs: a member of a set or a map comes or goes, a value changes.
struct Change {
   std::string text; // as it goes on after "if", as in "VLAN 20 were a PEG VLAN"
   nlohmann::ordered_json operation; // of a JSON Patch
};
using Changes = std::vector<Change>;

// A VRF that is configured or mapped somewhere.
struct KnownVrf {
   std::string name;
   bool isTransit;
   uint16_t vlanId; // 0 if it is mapped to none
};

// All of these, looked through once for all VLANs.
class KnownVrfs {
 public:
   explicit KnownVrfs(State const& state);

   std::map<std::string, KnownVrf> const& all() const noexcept { return all_; }
   // Those that are transit VRFs, or are not: first the ones that map to no VLAN.
   std::vector<KnownVrf const*> const& withTransit(bool isTransit) const noexcept {
      return byTransit_[isTransit ? 1 : 0];
   }
   // The name of none of them.
   std::string const& newName() const noexcept { return newName_; }

 private:
   std::map<std::string, KnownVrf> all_;
   std::array<std::vector<KnownVrf const*>, 2> byTransit_;
   std::string newName_ = "new";
};

struct Ways {
   std::vector<Changes> sets;
   size_t more; // that are not among the sets
};
// The sets of changes that give the VLAN its transit interface, those with the fewest
// changes: first the ones that take no VRF from another VLAN, and no more than this
// many. One empty set if it has it; none if no input gives it one.
Ways smallestToEnable(VlanFacts const& facts, Verify::Machine machine,
                      KnownVrfs const& known, size_t most);

// The single changes that take the interface away, or, of a VLAN that has the join
// alone, that take the join away; a VRF that does not exist yet stands for all those
// that do not map to the VLAN. None if it has neither.
Changes toDisable(VlanFacts const& facts, Verify::Machine machine,
                  KnownVrfs const& known);

} // namespace Agent
