#pragma once

#include "agent/Provenance.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <string_view>

namespace Agent {

// A change of an output as run --watch prints it, one line.
struct OutputChange {
   nlohmann::ordered_json const& operation;
   InputChange const& cause;
   std::string_view sm; // whose it is; empty where there is one machine
   std::chrono::system_clock::time_point time;
};

// For people, in local time:
//    14:03:07.120  add     /transitIntfColl/intf/Vlan10 {"ipAddr":"10.0.0.1"}  <- 3:
//    add /...
std::string lineOf(OutputChange const& change);

// For programs: the operation, with "time" (seconds since 1970, to the microsecond),
// "cause" and, where there are two machines, "sm".
nlohmann::ordered_json recordOf(OutputChange const& change);

} // namespace Agent
