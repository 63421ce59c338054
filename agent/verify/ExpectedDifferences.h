#pragma once

#include "agent/verify/PathDependence.h"

#include <array>
#include <string_view>

namespace Verify {

// Where the reactor and the dataflow machine are meant to differ. A comparison of the
// two accepts a difference only if it finds one of these for it.
// docs/TwoMachines.md shows them all.
struct ExpectedDifference {
   // What differs: what stands in the outputs, or only how it came to stand there.
   enum class In { outputs, changes };

   std::string_view name; // CamelCase; programs depend on it
   In in;
   std::string_view brief; // as a table says it
   std::string_view what;
   std::string_view reason;
   // The type of the condition that only one of the two rules has, or null.
   char const* condition = nullptr;
   // The case in which one of the machines departs from its own rule.
   PathDependence const* path = nullptr;
};

namespace Expected {

using In = ExpectedDifference::In;

inline constexpr ExpectedDifference kAddressFamily{
   "AddressFamily",
   In::outputs,
   "TransitSm works for ipv4 only",
   "with the address family ipv6 the outputs are those of TransitIntfSm alone",
   "TransitSm writes nothing for any family but ipv4",
   "FamilyHandled"};
inline constexpr ExpectedDifference kPegRule{
   "PegRule",
   In::outputs,
   "no PEG VLAN",
   "a VLAN that is no PEG VLAN has its outputs from TransitSm alone",
   "TransitSm does not know of PEG VLANs",
   "PegVlan"};
inline constexpr ExpectedDifference kOneVrfAVlan{
   "OneVrfAVlan",
   In::outputs,
   "shared by VRFs",
   "a VLAN that several VRFs map to, a transit VRF among them, has its outputs from "
   "TransitSm alone",
   "TransitIntfSm wants a VLAN to be of one VRF; TransitSm looks for a transit VRF "
   "among them",
   "VrfAlone"};
inline constexpr ExpectedDifference kJoinToggle{
   "JoinToggle",
   In::outputs,
   "joins of TransitSm are off",
   "with the toggle McastVpnTransitMlag off the joins are those of TransitIntfSm alone",
   "the toggle belongs to TransitSm",
   "JoinsOn"};
inline constexpr ExpectedDifference kStaleEntry{
   "StaleEntry",
   In::outputs,
   "another writer's; TransitSm leaves it",
   "what another writer or an earlier run left on a VLAN that is no transit VLAN, or on "
   "none, stays with TransitSm; TransitIntfSm removes it at its start",
   "TransitSm's start removes nothing that its tables do not lead it to",
   {},
   &Path::kForeignEntry};
inline constexpr ExpectedDifference kForeignLeaf{
   "ForeignLeaf",
   In::outputs,
   "more stands in the join; TransitSm leaves it",
   "what another writer put below a transit VLAN's join stays with TransitSm; "
   "TransitIntfSm removes it at its start",
   "TransitSm writes the wildcard join and looks at nothing beside it",
   {},
   &Path::kForeignLeaf};
inline constexpr ExpectedDifference kLateEntry{
   "LateEntry",
   In::outputs,
   "written after TransitIntfSm's start",
   "what another writer puts into the outputs of a running TransitIntfSm stays until "
   "its next start, or until the machine writes or withdraws that very entry",
   "TransitIntfSm walks its outputs at its start only",
   {},
   &Path::kLateEntry};
inline constexpr ExpectedDifference kEmptyLevel{
   "EmptyLevel",
   In::outputs,
   "an empty level; TransitIntfSm leaves it",
   "a level of the membership tree that another writer left with nothing below it "
   "stays with TransitIntfSm",
   "TransitIntfSm prunes only above a leaf that it withdrew",
   {},
   &Path::kEmptyLevel};
inline constexpr ExpectedDifference kTakenAway{
   "TakenAway",
   In::outputs,
   "taken away by another writer",
   "an output that another writer removed or changed comes back when its machine "
   "evaluates the VLAN again, and the machines do not evaluate at the same events",
   "neither machine watches its outputs",
   {},
   &Path::kTakenAway};
inline constexpr ExpectedDifference kVxlan1Removed{
   "Vxlan1Removed",
   In::outputs,
   "\"Vxlan1\" is gone; TransitIntfSm keeps the interface",
   "when the status of \"Vxlan1\" goes, TransitSm withdraws interface and join; "
   "TransitIntfSm withdraws the join, and the interface at its next start, or when "
   "the VLAN is evaluated with a new status",
   "an evaluation of TransitIntfSm without that status ends before the interface",
   {},
   &Path::kStatusGone};

inline constexpr ExpectedDifference kOrderInVlan{
   "OrderInVlan", In::changes, "interface or join first",
   "TransitSm writes and withdraws the interface of a VLAN before its join; "
   "TransitIntfSm the join before the interface",
   "TransitIntfSm runs its outputs in the order include, exclude, transit, router"};
inline constexpr ExpectedDifference kLevelByLevel{
   "LevelByLevel", In::changes, "join withdrawn level by level",
   "TransitSm withdraws a join by removing its VLAN; TransitIntfSm removes the leaf, "
   "and then each level that this has emptied",
   "TransitIntfSm owns leaves, and shares the levels above them with other writers"};
inline constexpr ExpectedDifference kOrderOfVlans{
   "OrderOfVlans", In::changes, "another order of VLANs",
   "where one change concerns several VLANs, each machine has an order of its own",
   "each walks a collection of its own, in the order of its hashes"};
inline constexpr ExpectedDifference kStatusVrfByVrf{
   "StatusVrfByVrf", In::changes, "a status read VRF by VRF",
   "when a status of \"Vxlan1\" comes, goes, or takes the place of another, "
   "TransitIntfSm acts on its VRFs one after the other: an output that the next "
   "status leads to as well goes and comes again, and a VLAN that VRFs share is "
   "enabled while a transit VRF is the only one on it",
   "it has a machine for each status, which hands on VRF by VRF; TransitSm evaluates "
   "each VLAN with the status as it is then"};
inline constexpr ExpectedDifference kEmptyLevelPruned{
   "EmptyLevelPruned", In::changes, "an empty level pruned first",
   "where another writer left an empty level of the membership tree on a VLAN that "
   "comes to be enabled, TransitIntfSm removes it before it writes its join; "
   "TransitSm writes into it",
   "an evaluation of TransitIntfSm withdraws what was before it decides anew, and "
   "prunes"};
inline constexpr ExpectedDifference kInterimStates{
   "InterimStates", In::changes, "several changes in between",
   "where the inputs changed several times before both machines were idle, what was "
   "right in between is written by one of them alone, or by each in its own way",
   "for those inputs their outputs differ by one of the reasons above, and while "
   "TransitIntfSm starts it acts on what the inputs are in the end"};

inline constexpr std::array kAll = {
   &kAddressFamily, &kPegRule,        &kOneVrfAVlan,      &kJoinToggle,
   &kStaleEntry,    &kForeignLeaf,    &kLateEntry,        &kEmptyLevel,
   &kTakenAway,     &kVxlan1Removed,  &kOrderInVlan,      &kLevelByLevel,
   &kOrderOfVlans,  &kStatusVrfByVrf, &kEmptyLevelPruned, &kInterimStates};

} // namespace Expected

} // namespace Verify
