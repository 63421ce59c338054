#pragma once

#include "agent/Options.h"

namespace Agent {

// The ctl command: asks a running agent through its control socket, and prints what it
// answers. Returns the exit status, which is that of the command of the same name.
//
// InputError if no agent answers, or if it refuses the question.
int ctl(Options const& options);

} // namespace Agent
