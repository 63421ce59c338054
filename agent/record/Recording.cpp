#include "agent/record/Recording.h"

#include "agent/BadInput.h"
#include "agent/Formatters.h"
#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/Version.h"
#include "zin/Hash.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <concepts>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <system_error>
#include <utility>

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

// Of what is more than can wait for the disk.
constexpr size_t kLongPart = size_t{1} << 20;

std::string failureMessage(std::string const& file, std::string const& why) {
   return location(file, 0) + "cannot be written: " + why;
}

// What people are told of FileWriter::error().
std::string reasonOf(int error) {
   return error == EOWNERDEAD ? "the process that writes it has ended"
                              : std::generic_category().message(error);
}

// Whoever writes a recording has it locked: of an agent that was killed, its writer may
// go on for a while.
bool isLockedByAnother(Descriptor const& file) {
   return flock(file.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Empty, if it is a file and no device, and locked then.
Descriptor openedToWrite(std::string const& file) {
   auto opened = Descriptor::made(
      open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666), "open");
   struct stat status{};
   if (fstat(opened.number(), &status) == 0 && S_ISREG(status.st_mode)) {
      if (isLockedByAnother(opened)) {
         throw InputError(failureMessage(file, "another process writes it"));
      }
      if (ftruncate(opened.number(), 0) != 0) {
         systemFailed("ftruncate");
      }
   }
   return opened;
}

FileWriter writerOf(std::string const& file) {
   try {
      return FileWriter(openedToWrite(file));
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

// Of a recording in which nothing happened yet, or an empty file, and nobody writes it.
bool holdsNothing(std::string const& file) {
   Descriptor const opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
   if (opened && isLockedByAnother(opened)) {
      return false;
   }
   std::ifstream in(file);
   std::string line;
   return !std::getline(in, line) ||
          (line.starts_with("{\"recording\":") && !std::getline(in, line));
}

// What is gathered: numbers, texts, texts of a size that is known beforehand, and
// lists.
constexpr size_t mostSize(std::integral auto) {
   return std::numeric_limits<uint64_t>::digits10 + 2; // and a sign
}

constexpr size_t mostSize(std::string_view text) {
   return text.size();
}

template <size_t size>
constexpr size_t mostSize(char const (&)[size]) {
   return size - 1;
}

char* written(std::string_view text, char* to) {
   return std::copy_n(text.data(), text.size(), to);
}

char* written(std::integral auto number, char* to) {
   return std::to_chars(to, to + mostSize(number), number).ptr;
}

// A number that is written again and again.
struct Grown {
   GrowingNumber& digits;
   uint64_t number;
};

constexpr size_t mostSize(Grown const&) {
   return GrowingNumber::kMostDigits;
}

char* written(Grown const& grown, char* to) {
   return grown.digits.write(grown.number, to);
}

template <size_t size>
char* written(char const (&text)[size], char* to) {
   return std::copy_n(text, size - 1, to);
}

template <typename Item>
constexpr size_t mostSize(std::vector<Item> const& items) {
   size_t most = 2;
   for (auto const& item : items) {
      most += mostSize(item) + 1;
   }
   return most;
}

template <typename Item>
char* written(std::vector<Item> const& items, char* to) {
   *to++ = '[';
   bool isFirst = true;
   for (auto const& item : items) {
      if (!std::exchange(isFirst, false)) {
         *to++ = ',';
      }
      to = written(item, to);
   }
   *to++ = ']';
   return to;
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
   : file_(std::move(file)), writer_(writerOf(file_)) {
   gather(ordered_json{{"recording", kRecordingVersion},
                       {"agent", kVersion},
                       {"time", timeText()},
                       {"options", optionsToJson(options)},
                       {"state", state.toJson()}}
             .dump(),
          "\n");
   finish();
}

Recorder::~Recorder() {
   // Nobody but who is told hears of it: what ends for an error throws no other.
   if (told_ && !hasFailed_) {
      writer_.waitUntilLeft(0);
      if (int const error = writer_.error(); error != 0) {
         told_(failureMessage(file_, reasonOf(error)));
      }
   }
}

// Room is looked for once, and the parts are written where they will stand: that is
// most of what recording costs.
template <typename... Parts>
void Recorder::gather(Parts const&... parts) {
   size_t const most = (mostSize(parts) + ...);
   if (most > FileWriter::kMostLeft && !told_) {
      std::string text(most, ' ');
      char* to = text.data();
      ((to = written(parts, to)), ...);
      gatherLong({text.data(), to});
   } else if (char* const room = roomFor(most); room != nullptr) {
      char* to = room;
      ((to = written(parts, to)), ...);
      writer_.added(static_cast<size_t>(to - room));
   }
}

// What is more than can wait for the disk at once.
void Recorder::gatherLong(std::string_view text) {
   while (!text.empty()) {
      auto const part = text.substr(0, kLongPart);
      char* const room = roomFor(part.size());
      if (room == nullptr) {
         return;
      }
      written(part, room);
      writer_.added(part.size());
      text.remove_prefix(part.size());
   }
}

// Null if nothing is recorded any more.
char* Recorder::roomFor(size_t most) {
   if (hasFailed_ || isBehind_) {
      return nullptr;
   }
   auto* room = writer_.room(most);
   while (room == nullptr && !told_ && // who is told never waits
          writer_.waitUntilLeft(FileWriter::kMostLeft - most)) {
      room = writer_.room(most);
   }
   isBehind_ = room == nullptr;
   return room;
}

void Recorder::stepBegins(std::string_view play) {
   ++steps_;
   gather("{\"t\":", Grown{times_, now()}, ",\"play\":", play, "}\n");
   lookForErrors();
}

void Recorder::wrote(std::string_view operation, uint64_t cause) {
   ++writes_;
   gather("{\"t\":", Grown{times_, now()}, ",\"wrote\":", operation,
          ",\"cause\":", Grown{causes_, cause}, "}\n");
}

void Recorder::stepEnds(SliceEnds const& ends, Slice const* slice) {
   if (ends.empty() && slice == nullptr) {
      lookForErrors();
      return;
   }
   if (slice == nullptr) {
      gather("{\"t\":", Grown{times_, now()}, ",\"ends\":", ends, "}\n");
   } else {
      auto const time =
         std::chrono::duration_cast<std::chrono::microseconds>(slice->time);
      gather("{\"t\":", Grown{times_, now()}, ",\"ends\":", ends,
             R"(,"slice":{"task":)", jsonText(slice->task), ",\"items\":", slice->items,
             ",\"time\":", time.count(), "}}\n");
   }
   lookForErrors();
}

void Recorder::end(uint64_t inputs) {
   gather(ordered_json{{"t", now()},
                       {"end",
                        {{"steps", steps_}, {"inputs", inputs}, {"writes", writes_}}}}
             .dump(),
          "\n");
   finish();
}

void Recorder::newsCame() {
   writer_.newsAreRead();
   lookForErrors();
}

// Of what can wait for a disk.
void Recorder::finish() {
   writer_.waitUntilLeft(0);
   lookForErrors();
}

void Recorder::lookForErrors() {
   if (int const error = writer_.error(); error != 0) {
      failed(reasonOf(error));
   } else if (isBehind_) {
      failed(fmt::format("more than {} MiB would wait for the disk",
                         FileWriter::kMostLeft >> 20));
   }
}

// Told once: what ends for it is not stopped again.
void Recorder::failed(std::string const& why) {
   if (std::exchange(hasFailed_, true)) {
      return;
   }
   auto const message = failureMessage(file_, why);
   if (!told_) {
      throw InputError(message);
   }
   told_(message);
}

} // namespace Agent
