#pragma once

#include "agent/pages/Command.h"

#include <string>

namespace Agent::Pages {

// The name of a command's manual page: "mcastvpn-agent-run".
std::string manName(Command const& program, std::string const& path);

// The manual page of a command of the program, as scdoc reads it.
std::string manSource(Command const& program, Placed const& placed,
                      std::string const& version);

} // namespace Agent::Pages
