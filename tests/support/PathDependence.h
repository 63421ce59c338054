#pragma once

#include "support/OutputSnapshot.h"

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Support {

// Where the outputs of the transit reactor depend on how the inputs came to be what
// they are, and why that is so. A check against the reference rule accepts a difference
// only if a test excuses it, output by output, with one of these; an excuse for an
// output that does not differ is a failure too.
struct PathDependence {
   std::string_view name;
   std::string_view reason;
};

namespace Path {

inline constexpr PathDependence kForeignEntry{
   "foreign entry", "what another writer left on a VLAN that is no transit VLAN stays "
                    "until that VLAN is evaluated: the start removes nothing"};
inline constexpr PathDependence kForeignLeaf{
   "foreign leaf", "what another writer put below a transit VLAN's join stays as long "
                   "as the VLAN is one: only the wildcard join is written"};
inline constexpr PathDependence kTakenAway{
   "taken away", "an output that another writer removed comes back when its VLAN is "
                 "evaluated again, not before: outputs are not watched"};
inline constexpr PathDependence kNotListening{
   "not listening",
   "configuration and MLAG changes while notifications are off (during "
   "the constructor, or switched off by the host) are never caught up"};
inline constexpr PathDependence kDropped{
   "dropped midway", "a dispatcher whose machine lost its last use stops between two "
                     "handler calls and leaves the rest undone"};
inline constexpr PathDependence kOnlyChanged{
   "only what changed",
   "the host wrote a decision or a table itself; only VLANs that a "
   "later change names are evaluated"};

inline constexpr std::array kAll = {kForeignEntry, kForeignLeaf, kTakenAway,
                                    kNotListening, kDropped,     kOnlyChanged};

} // namespace Path

// The outputs that are excused, by their key in the snapshot.
using Excuses = std::map<std::string, PathDependence>;

// Each output that differs without an excuse, or has one and does not differ.
inline std::vector<std::string> complaints(OutputSnapshot const& expected,
                                           OutputSnapshot const& actual,
                                           Excuses const& excuses = {}) {
   auto const at = [](OutputSnapshot const& snapshot, std::string const& key) {
      auto const found = snapshot.find(key);
      return found == snapshot.end() ? std::string("nothing") : found->second;
   };
   OutputSnapshot keys = expected;
   keys.insert(actual.begin(), actual.end());
   for (auto const& [key, why] : excuses) {
      keys.emplace(key, "");
   }
   std::vector<std::string> found;
   for (auto const& [key, text] : keys) {
      auto const should = at(expected, key);
      auto const is = at(actual, key);
      auto const excuse = excuses.find(key);
      if (should != is && excuse == excuses.end()) {
         found.push_back(key + ": " + is + " in place of " + should);
      } else if (should == is && excuse != excuses.end()) {
         found.push_back(key + ": needs no excuse of " +
                         std::string(excuse->second.name));
      }
   }
   return found;
}

} // namespace Support
