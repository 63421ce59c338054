#pragma once

#include "agent/Options.h"

namespace Agent {

// The replay command. Returns its exit status; InputError if a file is bad.
int replay(Options const& options);

} // namespace Agent
