#pragma once

#include "agent/Patch.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <vector>

// What Patch checks before anything is changed.
namespace Agent {

// The operations of a patch line; see Patch::Patch.
std::vector<Operation> parsePatch(State const& state, nlohmann::json const& patch,
                                  Checks checks);

// The place that the pointer names, whether or not something stands there. BadInput if
// there can be no such place.
Place placeOf(State const& state, nlohmann::json::json_pointer const& pointer,
              Checks checks);

// The entity that the place is in, or is; null if one on the way is not there.
Pelk::Ptr<Pelk::Entity> entityAt(Place const& place);

// What stands at the place; none if nothing does.
std::optional<nlohmann::json> valueAt(State const& state, Place const& place);

} // namespace Agent
