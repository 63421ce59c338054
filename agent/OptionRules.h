#pragma once

#include "agent/Options.h"

namespace Agent {

// Options that are each allowed but not all together: CLI::ValidationError, with what
// stands there and what is allowed.
void checkTogether(Options const& options);

} // namespace Agent
