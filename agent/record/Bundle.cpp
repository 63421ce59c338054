#include "agent/record/Bundle.h"

#include "agent/BadInput.h"
#include "agent/InputFile.h"
#include "agent/JsonText.h"
#include "agent/OutputFile.h"
#include "agent/Version.h"
#include "agent/Zstd.h"
#include "agent/observe/Statistics.h"
#include "agent/record/Rerun.h"
#include "fennlog/TraceHandle.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <sys/utsname.h>

#include <chrono>
#include <string>
#include <string_view>

namespace Agent {

using nlohmann::ordered_json;

namespace {

#ifdef __clang__
constexpr std::string_view kCompiler = "Clang " __clang_version__;
#else
constexpr std::string_view kCompiler = "GCC " __VERSION__;
#endif

// What it runs on, without its name in the network.
ordered_json systemToJson() {
   utsname system{};
   uname(&system);
   return {{"sysname", system.sysname},
           {"release", system.release},
           {"version", system.version},
           {"machine", system.machine}};
}

ordered_json headerToJson() {
   auto const now =
      std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
   return {{"bundle", kBundleVersion},
           {"agent", kVersion},
           {"library", kVersion}, // they are built together
           {"compiler", kCompiler},
           {"system", systemToJson()},
           {"time", fmt::format("{:%FT%T}Z", now)}};
}

ordered_json statisticsToJson(Statistics const& statistics, Playback const& playback) {
   auto json = statistics.toJson();
   json["since"] = playback.headerText("time");
   return json;
}

ordered_json traceToJson(Fennlog::TraceHandle const& ring) {
   auto list = ordered_json::array();
   for (auto const& record : ring.records()) {
      list.push_back({{"sequence", record.sequence},
                      {"level", record.level},
                      {"text", record.text}});
   }
   return list;
}

std::string lineOf(ordered_json const& json) {
   return jsonText(json) + '\n';
}

// What stands from that line of the text on.
std::string_view fromLine(std::string_view text, size_t line) {
   for (; line > 1; --line) {
      text.remove_prefix(text.find('\n') + 1);
   }
   return text;
}

} // namespace

int bundle(Options const& options) {
   FileText const recording(options.recording);
   Rerun rerun(recording, options);
   auto const ring = Pelk::makePtr<Fennlog::TraceHandle>();
   rerun.host().traceRingIs(ring);
   Statistics statistics;
   int const status =
      rerun.play([&](PlayedStep const& step) { count(step, statistics); });
   statistics.look(rerun.host());
   auto text =
      lineOf(headerToJson()) +
      lineOf({{"statistics", statisticsToJson(statistics, rerun.playback())}}) +
      lineOf({{"trace", traceToJson(*ring)}});
   text += fromLine(recording.text(), rerun.playback().headerLine());
   if (text.size() > kMostInput) {
      throw InputError(
         fmt::format("{}the bundle of it is longer than {} MiB, and would "
                     "not be read again",
                     location(options.recording, 0), kMostInput >> 20));
   }
   replaceFile(options.output, compressed(text));
   return status;
}

} // namespace Agent
