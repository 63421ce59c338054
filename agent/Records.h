#pragma once

#include "agent/OutputRecorder.h"
#include "agent/State.h"
#include "pelk/Trace.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Agent {

// What replay prints to standard output: one JSON value a line, in the order in which
// things happen. Takes the text trace.
class Records : private Pelk::TraceSink {
 public:
   // sm: what each record is tagged with; empty for nothing.
   explicit Records(std::string_view sm = {});
   ~Records() override;

   // Takes the text trace again, which other records took meanwhile.
   void takeTrace() { Pelk::Trace::sinkIs(this); }

   // Writes each change of the state's outputs from here on. written: who else is given
   // the line, without its end; may be empty.
   void follow(State const& state,
               std::function<void(std::string const& line)> written = nullptr);

   // Writes a record. Returns its line, without its end.
   std::string write(nlohmann::ordered_json record);

 private:
   void trace(Pelk::TraceRecord const& record) override;

   std::string_view sm_;
   Pelk::TraceSink* sinkBefore_;
   std::optional<OutputsRecorder> recorder_;
};

} // namespace Agent
