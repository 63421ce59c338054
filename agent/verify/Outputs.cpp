#include "agent/verify/Outputs.h"

#include <set>

namespace Verify {

std::string intfKey(std::string const& name) {
   return "intf " + name;
}

std::string joinKey(uint16_t vlanId) {
   return "join " + std::to_string(vlanId);
}

std::string wildcardJoinText(Lidra::AddressFamily af) {
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(af).stringValue();
   return "(" + any + ", " + any + ") include Null0";
}

namespace {

// Everything below one VLAN, sorted.
std::string joinText(Irb::Multicast::Gmp::VlanMembershipJoin const& vlan,
                     EmptyLevels emptyLevels) {
   std::set<std::string> parts;
   std::set<std::string> empty;
   for (auto const& router : vlan.routerIntf()) {
      parts.insert("router " + router.key().stringValue());
   }
   for (auto const& group : vlan.group()) {
      auto const star = "(" + group.key().stringValue() + ", ";
      if (group.value()->source().empty()) {
         empty.insert(star + "no source)");
      }
      for (auto const& source : group.value()->source()) {
         auto const at = star + source.key().stringValue() + ")";
         auto const& leaves = *source.value();
         if (leaves.includeIntf().empty() && leaves.excludeIntf().empty()) {
            empty.insert(at + " of nobody");
         }
         for (auto const& intf : leaves.includeIntf()) {
            parts.insert(at + " include " + intf.key().stringValue());
         }
         for (auto const& intf : leaves.excludeIntf()) {
            parts.insert(at + " exclude " + intf.key().stringValue());
         }
      }
   }
   if (emptyLevels == EmptyLevels::named) {
      parts.merge(empty);
      if (parts.empty()) {
         return "no group";
      }
   }
   std::string text;
   for (auto const& part : parts) {
      text += (text.empty() ? "" : "; ") + part;
   }
   return text;
}

} // namespace

Outputs outputsOf(Irb::Multicast::Evpn::TransitIntfColl const& coll,
                  Irb::Multicast::Gmp::MembershipJoinStatus const& joins,
                  EmptyLevels emptyLevels) {
   Outputs outputs;
   for (auto const& entry : coll.intf()) {
      auto const& intf = *entry.value();
      auto const name = entry.key().stringValue();
      outputs[intfKey(name)] = intf.intfId() == entry.key()
                                  ? intf.ipAddr().stringValue()
                                  : "stands under a key that is not its own";
   }
   for (auto const& entry : joins.vlan()) {
      auto const text = joinText(*entry.value(), emptyLevels);
      if (!text.empty()) {
         outputs[joinKey(entry.key().value())] = text;
      }
   }
   return outputs;
}

} // namespace Verify
