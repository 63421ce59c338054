#pragma once

#include "agent/Options.h"

namespace Agent {

// run --watch: publishes the state, prints the outputs when the machine is idle for the
// first time, then follows the file: publishes what is different in the inputs, and
// prints each change of an output, until SIGINT or SIGTERM. A document that is refused
// is told on standard error, and what stands stays. Returns the exit status.
//
// InputError if the state is bad at the start.
int watch(Options const& options);

} // namespace Agent
