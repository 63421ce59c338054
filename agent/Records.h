#pragma once

#include "agent/OutputRecorder.h"
#include "agent/State.h"
#include "pelk/Trace.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <vector>

namespace Agent {

// What replay prints: one JSON value a line, in the order in which things happen.
// Follows the outputs of a state from its construction on, and takes the text trace.
class Records : private Pelk::TraceSink {
 public:
   Records(State const& state, std::FILE* out);
   ~Records() override;

   void write(nlohmann::ordered_json const& record);

 private:
   void trace(Pelk::TraceRecord const& record) override;

   std::FILE* out_;
   Pelk::TraceSink* sinkBefore_;
   std::vector<std::unique_ptr<OutputRecorder>> recorders_;
};

} // namespace Agent
