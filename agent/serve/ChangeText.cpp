#include "agent/serve/ChangeText.h"

#include "agent/JsonText.h"

#include "pelk/Printable.h"

#include <fmt/format.h>

#include <ctime>

namespace Agent {

using nlohmann::ordered_json;

namespace {

std::string clockText(std::chrono::system_clock::time_point time) {
   auto const milliseconds =
      std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
   auto const seconds = static_cast<std::time_t>(milliseconds / 1000);
   std::tm local{};
   localtime_r(&seconds, &local);
   return fmt::format("{:02}:{:02}:{:02}.{:03}", local.tm_hour, local.tm_min,
                      local.tm_sec, milliseconds % 1000);
}

} // namespace

std::string lineOf(OutputChange const& change) {
   auto const& operation = change.operation;
   std::string line = fmt::format("{}  {:<7} {}", clockText(change.time),
                                  operation.at("op").get_ref<std::string const&>(),
                                  operation.at("path").get_ref<std::string const&>());
   if (auto const value = operation.find("value");
       value != operation.end() && !value->empty()) {
      line += ' ' + jsonText(*value);
   }
   if (!change.sm.empty()) {
      line += fmt::format("  [{}]", change.sm);
   }
   line += change.cause.number == 0 ? std::string("  <- the start")
                                    : fmt::format("  <- {}: {} {}", change.cause.number,
                                                  change.cause.op, change.cause.path);
   return Pelk::printable(line) + '\n';
}

ordered_json recordOf(OutputChange const& change) {
   auto record = change.operation;
   auto const microseconds =
      std::chrono::floor<std::chrono::microseconds>(change.time.time_since_epoch());
   record["time"] = static_cast<double>(microseconds.count()) / 1e6;
   record["cause"] = change.cause.toJson();
   if (!change.sm.empty()) {
      record["sm"] = change.sm;
   }
   return record;
}

} // namespace Agent
