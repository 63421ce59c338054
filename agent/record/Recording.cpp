#include "agent/record/Recording.h"

#include "agent/BadInput.h"
#include "agent/Formatters.h"
#include "agent/MachineNames.h"
#include "agent/Version.h"
#include "zin/Hash.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>

#include <cerrno>
#include <concepts>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <type_traits>
#include <utility>

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr size_t kGathered = size_t{1} << 16;   // written at once
constexpr size_t kMostBehind = size_t{1} << 24; // kept for a disk that is slow

std::string failureMessage(std::string const& file, std::string const& why) {
   return location(file, 0) + "cannot be written: " + why;
}

FileWriter writerOf(std::string const& file) {
   try {
      return FileWriter(Descriptor::made(
         open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666), "open"));
   } catch (std::system_error const& error) {
      throw InputError(failureMessage(file, error.code().message()));
   }
}

ordered_json optionsToJson(Options const& options) {
   ordered_json json{
      {"sm", smName(options.machine)},
      {"af", fmt::format("{}", options.af)},
      {"mode", options.mode == Vorn::RunMode::synchronous ? "sync" : "async"},
      {"seed", Zin::HashHelper::hashSeed32()},
      {"unchecked", options.checks == Checks::unchecked}};
   json["toggles"] = options.toggles;
   return json;
}

// How many recordings of agents that were killed may stand beside each other.
constexpr int kMostKept = 9;

// Of a recording in which nothing happened yet, or an empty file.
bool holdsNothing(std::string const& file) {
   std::ifstream in(file);
   std::string line;
   return !std::getline(in, line) ||
          (line.starts_with("{\"recording\":") && !std::getline(in, line));
}

std::string timeText() {
   return fmt::format("{:%FT%T}Z", std::chrono::floor<std::chrono::microseconds>(
                                      std::chrono::system_clock::now()));
}

} // namespace

std::string keepRecording(std::string const& file) {
   std::error_code isNot;
   if (!std::filesystem::is_regular_file(file, isNot) || holdsNothing(file)) {
      return {};
   }
   // Of what a link leads to, which stays where it is.
   auto const stands = std::filesystem::canonical(file, isNot).string();
   auto const kept = [&](int number) { return fmt::format("{}.{}", stands, number); };
   int last = 1; // the first that is free, or the oldest
   while (last < kMostKept && std::filesystem::exists(kept(last), isNot)) {
      ++last;
   }
   for (int number = last; number > 0; --number) {
      auto const from = number == 1 ? stands : kept(number - 1);
      if (std::rename(from.c_str(), kept(number).c_str()) != 0) {
         throw InputError(location(file, 0) + "what stands here cannot be kept as " +
                          kept(1) + ": " + std::generic_category().message(errno));
      }
   }
   return location(file, 0) + "what stood here is kept as " + kept(1);
}

Recorder::Recorder(std::string file, Options const& options, State const& state)
   : file_(std::move(file)), writer_(writerOf(file_)),
     begin_(std::chrono::steady_clock::now()) {
   line(ordered_json{{"recording", kRecordingVersion},
                     {"agent", kVersion},
                     {"time", timeText()},
                     {"options", optionsToJson(options)},
                     {"state", state.toJson()}}
           .dump());
   finish();
}

Recorder::~Recorder() {
   handOverAll();
   // Nobody but who is told hears of it: what ends for an error throws no other.
   if (told_ && !hasFailed_) {
      writer_.waitForAll();
      if (int const error = writer_.error(); error != 0) {
         told_(failureMessage(file_, std::generic_category().message(error)));
      }
   }
}

// Format strings would cost most of what recording costs.
template <typename... Parts>
void Recorder::gather(Parts const&... parts) {
   auto const add = [this](auto const& part) {
      if constexpr (std::integral<std::remove_cvref_t<decltype(part)>>) {
         fmt::format_int const number(part);
         gathered_.append(number.data(), number.size());
      } else {
         gathered_ += part;
      }
   };
   (add(parts), ...);
}

template <typename Each>
void Recorder::gatherList(auto const& items, Each const& each) {
   gather("[");
   char const* separator = "";
   for (auto const& item : items) {
      gather(std::exchange(separator, ","));
      each(item);
   }
   gather("]");
}

void Recorder::stepBegins(std::string_view play) {
   ++steps_;
   gather("{\"t\":", now(), ",\"play\":", play, "}\n");
   flushIfFull();
}

void Recorder::wrote(std::string_view operation, uint64_t cause) {
   ++writes_;
   gather("{\"t\":", now(), ",\"wrote\":", operation, ",\"cause\":", cause, "}\n");
}

void Recorder::stepEnds(SliceEnds const& ends, Slice const* slice) {
   if (ends.empty() && slice == nullptr) {
      return;
   }
   gather("{\"t\":", now(), ",\"ends\":");
   gatherList(ends, [this](auto const& polls) {
      gatherList(polls, [this](uint64_t poll) { gather(poll); });
   });
   if (slice != nullptr) {
      auto const time =
         std::chrono::duration_cast<std::chrono::microseconds>(slice->time);
      gather(R"(,"slice":{"task":)", json(slice->task).dump(),
             ",\"items\":", slice->items, ",\"time\":", time.count(), "}");
   }
   gather("}\n");
   flushIfFull();
}

void Recorder::end(uint64_t inputs) {
   line(ordered_json{
      {"t", now()},
      {"end", {{"steps", steps_}, {"inputs", inputs}, {"writes", writes_}}}}
           .dump());
   finish();
}

void Recorder::flush() {
   if (!told_) {
      handOverAll();
   } else if (!handOver() && writer_.left() + gathered_.size() > kMostBehind) {
      failed("the disk is too slow");
   }
   lookForErrors();
}

void Recorder::newsCame() {
   writer_.newsAreRead();
   flush();
}

// Of what can wait for a disk.
void Recorder::finish() {
   handOverAll();
   writer_.waitForAll();
   lookForErrors();
}

void Recorder::handOverAll() {
   while (!handOver()) {
      writer_.waitForRoom();
   }
}

// False if what was gathered is not taken now.
bool Recorder::handOver() {
   if (hasFailed_) {
      gathered_.clear();
   }
   return gathered_.empty() || writer_.take(gathered_);
}

void Recorder::lookForErrors() {
   if (int const error = writer_.error(); error != 0) {
      failed(std::generic_category().message(error));
   }
}

// Told once: what ends for it is not stopped again.
void Recorder::failed(std::string const& why) {
   if (std::exchange(hasFailed_, true)) {
      return;
   }
   gathered_ = std::string();
   auto const message = failureMessage(file_, why);
   if (!told_) {
      throw InputError(message);
   }
   told_(message);
}

int64_t Recorder::now() const {
   return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now() - begin_)
      .count();
}

void Recorder::line(std::string_view text) {
   gather(text, "\n");
   flushIfFull();
}

void Recorder::flushIfFull() {
   if (gathered_.size() >= kGathered) {
      flush();
   }
}

} // namespace Agent
