#pragma once

#include "agent/pages/Command.h"

#include <string>

namespace Agent::Pages {

// What bash reads to complete a command line of the program: commands, options, the
// values that they take, and names of files.
std::string bashCompletion(Command const& program);

} // namespace Agent::Pages
