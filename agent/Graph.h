#pragma once

#include "agent/Options.h"

namespace Agent {

// The graph command. Returns its exit status.
int graph(Options const& options);

} // namespace Agent
