#pragma once

#include "agent/pages/Command.h"

#include <string>

namespace Agent::Pages {

// What zsh reads to complete a command line of the program: commands and options with
// what they are for, the values that they take, and names of files.
std::string zshCompletion(Command const& program);

} // namespace Agent::Pages
