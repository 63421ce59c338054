#pragma once

#include "agent/Options.h"

namespace Agent {

// The compare command: starts both machines over the state document, each over outputs
// of its own, and prints where they differ, each difference with its reason. Returns
// the exit status.
int compare(Options const& options);

// The run command with both machines: the same, with all that they wrote.
int runBoth(Options const& options);

} // namespace Agent
