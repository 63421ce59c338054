#pragma once

#include "agent/OutputRecorder.h"
#include "agent/State.h"
#include "pelk/Trace.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace Agent {

// What replay prints to standard output: one JSON value a line, in the order in which
// things happen. Follows the outputs of a state from its construction on, and takes the
// text trace.
class Records : private Pelk::TraceSink {
 public:
   // sm: what each record is tagged with; empty for nothing.
   explicit Records(State const& state, std::string_view sm = {});
   ~Records() override;

   // Takes the text trace again, which other records took meanwhile.
   void takeTrace() { Pelk::Trace::sinkIs(this); }

   void write(nlohmann::ordered_json record);

 private:
   void trace(Pelk::TraceRecord const& record) override;

   std::string_view sm_;
   Pelk::TraceSink* sinkBefore_;
   OutputsRecorder recorder_;
};

} // namespace Agent
