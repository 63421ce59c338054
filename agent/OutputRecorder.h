#pragma once

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

// Turns each change notification of an entity, and of everything below it, into one
// JSON Patch operation. Applied in order to what the entity held at the start, the
// operations give what it holds at the end. Driven by the type tables.
//
// To be made before anybody else subscribes to the entity: it is then told first, and
// the order stands also where another subscriber changes the entity in its callback.
class OutputRecorder {
 public:
   using Emit = std::function<void(nlohmann::ordered_json const& operation)>;

   OutputRecorder(std::string_view name, Pelk::Ptr<Pelk::Entity> const& entity,
                  Emit emit);
   ~OutputRecorder();

 private:
   class Node;

   Emit emit_;
   std::unique_ptr<Node> root_;
};

// The same for all outputs of a state.
class OutputsRecorder {
 public:
   OutputsRecorder(State const& state, OutputRecorder::Emit const& emit);

 private:
   std::vector<std::unique_ptr<OutputRecorder>> recorders_;
};

} // namespace Agent
