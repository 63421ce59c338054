#pragma once

#include "agent/Options.h"

namespace Agent {

// The report command: plays a recording again and writes a page of what happened in it.
// Returns the exit status.
int report(Options const& options);

} // namespace Agent
