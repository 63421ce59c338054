#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"

#include <map>
#include <set>
#include <sstream>
#include <string>

namespace Support {

// All that stands in the outputs, as text that compares and prints:
//    "intf Vlan10" -> "10.0.0.1"
//    "join 10"     -> "(0.0.0.0, 0.0.0.0) include Null0"
using OutputSnapshot = std::map<std::string, std::string>;

inline std::string intfKey(std::string const& name) {
   return "intf " + name;
}
inline std::string joinKey(uint16_t vlanId) {
   return "join " + std::to_string(vlanId);
}

// Everything below one VLAN, sorted; levels that hold nothing are named too.
inline std::string joinText(Irb::Multicast::Gmp::VlanMembershipJoin const& vlan) {
   std::set<std::string> parts;
   for (auto const& router : vlan.routerIntf()) {
      parts.insert("router " + router.key().stringValue());
   }
   for (auto const& group : vlan.group()) {
      auto const star = "(" + group.key().stringValue() + ", ";
      if (group.value()->source().empty()) {
         parts.insert(star + "no source)");
      }
      for (auto const& source : group.value()->source()) {
         auto const at = star + source.key().stringValue() + ")";
         auto const& leaves = *source.value();
         if (leaves.includeIntf().empty() && leaves.excludeIntf().empty()) {
            parts.insert(at + " of nobody");
         }
         for (auto const& intf : leaves.includeIntf()) {
            parts.insert(at + " include " + intf.key().stringValue());
         }
         for (auto const& intf : leaves.excludeIntf()) {
            parts.insert(at + " exclude " + intf.key().stringValue());
         }
      }
   }
   std::string text;
   for (auto const& part : parts) {
      text += (text.empty() ? "" : "; ") + part;
   }
   return text.empty() ? "no group" : text;
}

inline OutputSnapshot
snapshotOf(Irb::Multicast::Evpn::TransitIntfColl const& coll,
           Irb::Multicast::Gmp::MembershipJoinStatus const& joins) {
   OutputSnapshot snapshot;
   for (auto const& entry : coll.intf()) {
      auto const& intf = *entry.value();
      auto const name = entry.key().stringValue();
      snapshot[intfKey(name)] = intf.intfId() == entry.key()
                                   ? intf.ipAddr().stringValue()
                                   : "stands under a key that is not its own";
   }
   for (auto const& entry : joins.vlan()) {
      snapshot[joinKey(entry.key().value())] = joinText(*entry.value());
   }
   return snapshot;
}

} // namespace Support
