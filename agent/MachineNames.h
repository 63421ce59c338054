#pragma once

#include "agent/verify/PathDependence.h"

#include <string_view>

namespace Agent {

// The name of a machine's class, for people.
constexpr std::string_view machineName(Verify::Machine machine) noexcept {
   return machine == Verify::Machine::reactor ? "TransitSm" : "TransitIntfSm";
}

// What --sm and the records call a machine.
constexpr std::string_view smName(Verify::Machine machine) noexcept {
   return machine == Verify::Machine::reactor ? "reactor" : "dataflow";
}

} // namespace Agent
