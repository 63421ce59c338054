#pragma once

#include "agent/Options.h"

namespace Agent {

// The plan command: starts the machine over the outputs that the state document holds,
// in this process alone, and prints what that did to each entry of them. Returns the
// exit status: kFine if no output was touched, else kWouldChange.
int plan(Options const& options);

} // namespace Agent
