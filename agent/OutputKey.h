#pragma once

#include "agent/State.h"
#include "agent/verify/Outputs.h"

#include <cstdint>
#include <string>

// One output has three names: a key as the plain rules have it ("intf Vlan10",
// "join 10"), the pointer of its member in a state document, and its VLAN.
namespace Agent {

// Of the output that a pointer leads to, or into.
std::string outputKeyOf(std::string const& path);
std::string outputPathOf(std::string const& key);

bool isJoinKey(std::string const& key);
// What the output is called in its collection: "Vlan10", "10".
std::string nameInKey(std::string const& key);
// 0 for an interface that is no routed VLAN interface.
uint16_t vlanOfKey(std::string const& key);

std::string intfKeyOf(uint16_t vlanId);

// What stands in the outputs of a state.
Verify::Outputs outputsOf(State const& state);

} // namespace Agent
