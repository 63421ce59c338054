#pragma once

#include "agent/Options.h"

namespace Agent {

// The explain command: prints for each SBD VLAN of the state document, or the ones that
// the options name, each condition of the rule with the value seen, the verdict of
// either machine, what would turn it, and whether the outputs in the document agree.
// Runs no machine, but for a recording, which is played to its end: explained is the
// state that it ended in, and besides which change last wrote each output. Returns the
// exit status.
int explain(Options const& options);

} // namespace Agent
