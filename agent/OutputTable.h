#pragma once

#include "agent/Options.h"
#include "agent/State.h"

#include <string>

namespace Agent {

// What the machine made of the state, as a table for people: one row an SBD VLAN, with
// the reason where it has no transit interface.
std::string outputTable(State const& state, Options const& options, bool colour);

} // namespace Agent
