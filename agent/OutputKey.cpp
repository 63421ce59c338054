#include "agent/OutputKey.h"

#include "agent/SbdVlans.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace Agent {

namespace {

using Pointer = nlohmann::json::json_pointer;

constexpr std::string_view kJoin = "join ";

// "Vlan10" in "/transitIntfColl/intf/Vlan10/ipAddr". Every write is looked at, so no
// pointer is made where nothing is escaped.
std::string memberOf(std::string const& path) {
   size_t const begin = path.find('/', path.find('/', 1) + 1) + 1;
   auto const name = path.substr(begin, path.find('/', begin) - begin);
   return name.find('~') == std::string::npos ? name : Pointer('/' + name).back();
}

} // namespace

std::string outputKeyOf(std::string const& path) {
   auto const name = memberOf(path);
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
