#include "agent/OutputKey.h"

#include "agent/SbdVlans.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace Agent {

namespace {

using Pointer = nlohmann::json::json_pointer;

constexpr std::string_view kJoin = "join ";

// "/transitIntfColl/intf/Vlan10/ipAddr" is below "/transitIntfColl/intf/Vlan10".
Pointer memberOf(Pointer pointer) {
   while (!pointer.parent_pointer().parent_pointer().parent_pointer().empty()) {
      pointer.pop_back();
   }
   return pointer;
}

} // namespace

std::string outputKeyOf(std::string const& path) {
   auto const name = memberOf(Pointer(path)).back();
   return path.starts_with("/transitIntfColl/") ? Verify::intfKey(name)
                                                : std::string(kJoin) + name;
}

std::string outputPathOf(std::string const& key) {
   return ((isJoinKey(key) ? Pointer("/membershipJoinStatus/vlan")
                           : Pointer("/transitIntfColl/intf")) /
           nameInKey(key))
      .to_string();
}

bool isJoinKey(std::string const& key) {
   return key.starts_with(kJoin);
}

std::string nameInKey(std::string const& key) {
   return key.substr(key.find(' ') + 1);
}

uint16_t vlanOfKey(std::string const& key) {
   return vlanOfIntf((isJoinKey(key) ? "Vlan" : "") + nameInKey(key));
}

Verify::Outputs outputsOf(State const& state) {
   return Verify::outputsOf(*state.transitIntfColl, *state.membershipJoinStatus);
}

std::string intfKeyOf(uint16_t vlanId) {
   return Verify::intfKey("Vlan" + std::to_string(vlanId));
}

} // namespace Agent
