#pragma once

#include "agent/verify/Outputs.h"

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Verify {

enum class Machine { reactor, dataflow };

// Where the outputs of a machine depend, by its own contract, on how the inputs came to
// be what they are. A check against the plain rule accepts a difference only if it is
// excused, output by output, with one of these. docs/PathDependence.md shows them all.
struct PathDependence {
   enum class Of { reactor, dataflow, both };

   std::string_view name;
   Of machine;
   std::string_view what;
   std::string_view reason;

   bool isOf(Machine one) const noexcept {
      return machine == Of::both ||
             (machine == Of::reactor) == (one == Machine::reactor);
   }
};

namespace Path {

inline constexpr PathDependence kForeignEntry{
   "foreign entry", PathDependence::Of::reactor,
   "what another writer left on a VLAN that is no transit VLAN stays until that VLAN "
   "is evaluated; an interface of it follows the address meanwhile",
   "the start removes nothing"};
inline constexpr PathDependence kForeignLeaf{
   "foreign leaf", PathDependence::Of::reactor,
   "what another writer put below a transit VLAN's join stays as long as the VLAN is "
   "one",
   "only the wildcard join is written"};
inline constexpr PathDependence kLateEntry{
   "late entry", PathDependence::Of::dataflow,
   "what another writer puts into the outputs after they were reconciled stays until "
   "the machine writes or withdraws that very entry, or until the next start",
   "outputs are walked at the start only"};
inline constexpr PathDependence kEmptyLevel{
   "empty level", PathDependence::Of::dataflow,
   "a level of the membership tree that another writer left with nothing below it "
   "stays",
   "levels are pruned only above a leaf that was withdrawn"};
inline constexpr PathDependence kTakenAway{
   "taken away", PathDependence::Of::both,
   "an output that another writer removed or changed is right again when its VLAN is "
   "evaluated again, not before",
   "outputs are not watched"};
inline constexpr PathDependence kStatusGone{
   "status gone", PathDependence::Of::dataflow,
   "when the status of \"Vxlan1\" goes, the joins are withdrawn and the interfaces "
   "stay, until their VLAN is evaluated again with a \"Vxlan1\", or until a restart",
   "an evaluation without that status ends before the interface"};
inline constexpr PathDependence kNotListening{
   "not listening", PathDependence::Of::both,
   "changes of inputs made while notifications are off (for the reactor's "
   "configuration and MLAG state: also those made from inside the constructor) are "
   "not caught up",
   "switching on evaluates nothing"};
inline constexpr PathDependence kDropped{
   "dropped midway", PathDependence::Of::both,
   "what was left to do when the last use went stays undone",
   "a dispatcher stops between two handler calls"};
inline constexpr PathDependence kOnlyChanged{
   "only what changed", PathDependence::Of::both,
   "a decision or table entry that the host wrote itself stays until a change names "
   "its VLAN",
   "nothing else is evaluated"};

inline constexpr std::array kAll = {kForeignEntry, kForeignLeaf, kLateEntry,
                                    kEmptyLevel,   kTakenAway,   kStatusGone,
                                    kNotListening, kDropped,     kOnlyChanged};

} // namespace Path

// The outputs that are excused, by their key.
using Excuses = std::map<std::string, PathDependence>;

inline constexpr char const* kNothing = "nothing";

// What stands under the key, or kNothing.
std::string standsAt(Outputs const& outputs, std::string const& key);

// Each output that differs without an excuse, or has one and does not differ.
std::vector<std::string> complaints(Outputs const& expected, Outputs const& actual,
                                    Excuses const& excuses = {});

} // namespace Verify
