#include "agent/serve/TraceText.h"

#include "agent/JsonText.h"
#include "pelk/Printable.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <chrono>
#include <utility>

namespace Agent {

using nlohmann::ordered_json;

ordered_json recordToJson(Fennlog::Record const& record) {
   auto const microseconds =
      std::chrono::floor<std::chrono::microseconds>(record.time.time_since_epoch());
   return {{"number", record.sequence},
           {"time", static_cast<double>(microseconds.count()) / 1e6},
           {"level", record.level},
           {"text", record.text}};
}

std::string recordText(Fennlog::Record const& record) {
   return fmt::format("{:%F %T}Z  {}  {}",
                      std::chrono::floor<std::chrono::microseconds>(record.time),
                      record.level, Pelk::printable(record.text));
}

RingFollower::RingFollower(Pelk::Ptr<Fennlog::TraceHandle const> const& ring,
                           bool isText)
   : reader_(ring), isText_(isText) {
   while (reader_.next()) { // what is there already is not asked for
   }
   missed_ = reader_.missed();
}

std::optional<std::string> RingFollower::next() {
   auto const record = held_ ? std::exchange(held_, std::nullopt) : reader_.next();
   if (!record) {
      return std::nullopt;
   }
   if (auto const missed = reader_.missed(); missed != missed_) {
      held_ = record;
      return jsonText(
         ordered_json{{"missed", missed - std::exchange(missed_, missed)}});
   }
   return jsonText(ordered_json{
      {"trace", isText_ ? ordered_json(recordText(*record)) : recordToJson(*record)}});
}

} // namespace Agent
