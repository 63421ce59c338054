#pragma once

#include "agent/EntityTree.h"
#include "agent/State.h"
#include "pelk/Entity.h"
#include "pelk/Ptr.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// One change notification as one JSON Patch operation.
nlohmann::ordered_json operationOf(EntityTree::Change const& change);

// Turns each change notification of an entity, and of everything below it, into one
// JSON Patch operation. Applied in order to what the entity held at the start, the
// operations give what it holds at the end. To be made when an EntityTree is to be.
class OutputRecorder {
 public:
   using Emit = std::function<void(nlohmann::ordered_json const& operation)>;

   OutputRecorder(std::string_view name, Pelk::Ptr<Pelk::Entity> const& entity,
                  Emit const& emit);

 private:
   EntityTree tree_;
};

// The same for all outputs of a state.
class OutputsRecorder {
 public:
   OutputsRecorder(State const& state, OutputRecorder::Emit const& emit);

 private:
   std::vector<std::unique_ptr<OutputRecorder>> recorders_;
};

} // namespace Agent
