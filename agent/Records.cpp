#include "agent/Records.h"

#include "agent/JsonText.h"
#include "agent/Streams.h"

#include <string>
#include <utility>

namespace Agent {

using nlohmann::ordered_json;

Records::Records(std::string_view sm)
   : sm_(sm), sinkBefore_(Pelk::Trace::sinkIs(this)) {}

Records::~Records() {
   Pelk::Trace::sinkIs(sinkBefore_);
}

void Records::follow(State const& state,
                     std::function<void(std::string const& line)> written) {
   recorder_.emplace(
      state, [this, written = std::move(written)](ordered_json const& operation) {
         auto const line = write(operation);
         if (written) {
            written(line);
         }
      });
}

std::string Records::write(ordered_json record) {
   if (!sm_.empty()) {
      record["sm"] = sm_;
   }
   auto line = jsonText(record);
   line += '\n';
   print(line);
   line.pop_back();
   return line;
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
