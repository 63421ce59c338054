#pragma once

#include "pelk/Entity.h"
#include "support/TreeRecorder.h"
#include "zin/TypeTable.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace Support {

// What stands in a tree of entities, without levels that hold nothing: places, such as
// "vlan>10>group>0.0.0.0>source>0.0.0.0>includeIntf>Null0>", and values.
using Leaves = std::map<std::string, std::string>;

inline void addLeaves(Pelk::Entity const& entity, std::string const& at,
                      Leaves& leaves) {
   using Kind = Zin::AttributeKind;
   for (auto const& attribute : entity.entityType().attributes) {
      auto const place = at + std::string(attribute.name) + '>';
      if (attribute.kind == Kind::value) {
         leaves[place] = attribute.get(entity);
      } else if (attribute.isCollection()) {
         attribute.members(entity,
                           [&](auto const& key, auto const& value, auto const* child) {
                              if (child != nullptr) {
                                 addLeaves(*child, place + key + '>', leaves);
                              } else {
                                 leaves[place + key + '>'] = value;
                              }
                           });
      }
   }
}

inline Leaves leavesOf(Pelk::Entity const& root) {
   Leaves leaves;
   addLeaves(root, {}, leaves);
   return leaves;
}

// Where a change was made: a leaf, or what leaves stand below.
inline std::string placeOf(TreeChange const& change) {
   std::string place;
   for (auto const& [collection, key] : change.path) {
      place += collection + '>' + key + '>';
   }
   place += change.attribute + '>';
   return change.key.empty() ? place : place + change.key + '>';
}

// What stands in both with the same value.
inline Leaves inBoth(Leaves const& one, Leaves const& other) {
   Leaves both;
   std::ranges::set_intersection(one, other, std::inserter(both, both.end()));
   return both;
}

// Those of these leaves of which a change was made, or above which one was.
inline std::vector<std::string> touched(Leaves const& leaves,
                                        std::vector<TreeChange> const& changes) {
   std::vector<std::string> touched;
   for (auto const& change : changes) {
      auto const place = placeOf(change);
      for (auto leaf = leaves.lower_bound(place);
           leaf != leaves.end() && leaf->first.starts_with(place); ++leaf) {
         touched.push_back(leaf->first + " by a change of " + place);
      }
   }
   return touched;
}

} // namespace Support
