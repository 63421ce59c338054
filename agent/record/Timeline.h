#pragma once

#include "agent/Options.h"

namespace Agent {

// The timeline command: plays a recording again and writes what happened in it as a
// trace in Chrome's JSON format. Returns the exit status.
int timeline(Options const& options);

} // namespace Agent
