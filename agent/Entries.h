#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace Agent {

// What stands in some outputs, one entry a leaf: a member of a set, or an entity that
// has values of its own or nothing below it. By pointer, with those values.
using Entries = std::map<std::string, nlohmann::json>;

// outputs: canonical, by the names of the members of a state.
Entries entriesOf(nlohmann::json const& outputs);

// The entries among them that the operation of a JSON Patch at this path touches: those
// at it, below it, and the one whose value it is.
std::vector<std::string> touchedBy(std::string const& path, Entries const& entries);

} // namespace Agent
