#pragma once

#include "agent/Options.h"

namespace Agent {

// The run command. Returns its exit status; InputError if a file is bad.
int run(Options const& options);

} // namespace Agent
