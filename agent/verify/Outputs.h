#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"

#include <cstdint>
#include <map>
#include <string>

namespace Verify {

// All that stands in the outputs, as text that compares and prints:
//    "intf Vlan10" -> "10.0.0.1"
//    "join 10"     -> "(0.0.0.0, 0.0.0.0) include Null0"
using Outputs = std::map<std::string, std::string>;

std::string intfKey(std::string const& name);
std::string joinKey(uint16_t vlanId);

// The text of a join that is the wildcard join on "Null0" and nothing else.
std::string wildcardJoinText(Lidra::AddressFamily af);

// Whether a level of the membership tree that holds nothing is named or left out. A
// VLAN of which nothing is left is left out too.
enum class EmptyLevels { named, leftOut };

Outputs outputsOf(Irb::Multicast::Evpn::TransitIntfColl const& coll,
                  Irb::Multicast::Gmp::MembershipJoinStatus const& joins,
                  EmptyLevels emptyLevels = EmptyLevels::named);

} // namespace Verify
