#include "agent/Records.h"

#include "agent/Streams.h"

#include <string>

namespace Agent {

using nlohmann::ordered_json;

Records::Records(State const& state, std::string_view sm)
   : sm_(sm), sinkBefore_(Pelk::Trace::sinkIs(this)),
     recorder_(state, [this](ordered_json const& operation) { write(operation); }) {}

Records::~Records() {
   Pelk::Trace::sinkIs(sinkBefore_);
}

void Records::write(ordered_json record) {
   if (!sm_.empty()) {
      record["sm"] = sm_;
   }
   auto line = record.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
   line += '\n';
   print(line);
}

void Records::trace(Pelk::TraceRecord const& record) {
   write({{"trace",
           {{"name", record.name},
            {"file", record.file},
            {"function", record.function},
            {"level", record.level},
            {"text", record.text}}}});
}

} // namespace Agent
