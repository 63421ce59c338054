#pragma once

#include "agent/Host.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace Agent {

// A line of an event file that is for the host: {"host":"slice","count":3}.
struct HostLine {
   enum class Kind { drain, slice, stop, start, restart, flag, inside };

   Kind kind = Kind::drain;
   uint64_t count = 0;           // of a slice line; the notification of an inside line
   uint32_t items = 0;           // of each of its slices; 0: as the options say
   std::string want;             // of a flag line: the name ...
   bool Flags::* flag = nullptr; // ... which is this one ...
   bool value = false;           // ... and what it should be
   nlohmann::json event;         // what an inside line has done
};

// Where in the play the line stands.
struct Situation {
   bool isRunning; // a machine
   bool isDataflow;
   bool isFirst; // of the event file
};

// BadInput if the line is not one, or cannot be done in its situation.
HostLine hostLineOf(nlohmann::json const& event, Situation const& situation);

// Does what the line says. A flag is for the caller to test, and what is to be done
// inside a notification for him to do. Returns the number of slices that ran.
uint64_t play(HostLine const& line, Host& host);

} // namespace Agent
