#pragma once

#include "explore/Schedule.h"

#include <functional>
#include <string>

namespace Explore {

// Does something in a process of its own. Returns the exit status that the work gives,
// or 128 + N when signal N ended the process.
int aloneStatus(std::function<int()> const& work);

// Plays a schedule in a process of its own. What was wrong first, or which signal ended
// the process; empty for nothing. What it says on standard error is not shown.
std::string playedAlone(Schedule const& schedule);

} // namespace Explore
