#include "agent/serve/StateFolder.h"

#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/Host.h"
#include "agent/serve/LiveMessages.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

namespace Agent {

using nlohmann::json;

namespace {

using namespace std::chrono_literals;

// Changes come together.
constexpr auto kGathering = 100ms;
constexpr auto kNextWrite = 5s;
// Behind the name of a file that is not whole yet: that of another process, and of this
// one at its end.
constexpr char const* kNext = ".next";
constexpr char const* kLast = ".last";

[[noreturn]] void fileFailed(std::string const& file, std::string const& what) {
   throw InputError(location(file, 0) + what + ": " +
                    std::generic_category().message(errno));
}

Descriptor openFolder(std::string const& folder) {
   Descriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
   if (!descriptor) {
      fileFailed(folder, "a folder is needed here");
   }
   return descriptor;
}

Descriptor taken(std::string const& folder) {
   if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
      fileFailed(folder, "no folder can be made here");
   }
   auto descriptor = openFolder(folder);
   if (flock(descriptor.number(), LOCK_EX | LOCK_NB) != 0) {
      fileFailed(folder, "another agent keeps its outputs here");
   }
   return descriptor;
}

// In the place of whatever stood there.
Descriptor newFile(std::string const& file) {
   unlink(file.c_str());
   Descriptor descriptor(
      open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
   if (!descriptor) {
      fileFailed(file, "it cannot be written");
   }
   return descriptor;
}

} // namespace

StateFolder::StateFolder(EventLoop& loop, std::string folder, State const& state)
   : folder_(std::move(folder)), state_(state), taken_(taken(folder_)),
     snapshots_(loop), timer_(loop, [this] { keep(); }) {}

void StateFolder::addOutputs(json& document, Options const& options) const {
   for (auto const& own : {file(), file() + kNext}) {
      std::error_code isNot;
      if (std::filesystem::equivalent(options.state, own, isNot)) {
         throw InputError(location(options.state, 0) +
                          "the file in which the outputs are kept stands here; allowed "
                          "is one of inputs");
      }
   }
   // Where nothing can be made, nothing is published that could not be kept.
   auto const next = file() + kNext;
   newFile(next);
   unlink(next.c_str());
   auto const none = State().outputsToJson();
   for (auto const& [name, value] : none.items()) {
      if (document.at(name) != value) {
         throw InputError(fmt::format("{}/{}: outputs stand here; with --state-dir "
                                      "allowed are inputs alone",
                                      location(options.state, 0), name));
      }
   }
   if (std::filesystem::exists(file())) {
      try {
         keepOutputs(document, loadDocument(state_, file(), options.checks));
      } catch (InputError const& error) {
         throw InputError(std::string(error.what()) +
                          "; without this file, a start finds no outputs");
      }
   }
}

void StateFolder::keepOutputs(json& document, json const& before) const {
   for (auto const& member : state_.members()) {
      if (member.isOutput) {
         std::string const name(member.name);
         document[name] = before.at(name);
      }
   }
}

void StateFolder::changed() {
   isChanged_ = true;
   if (!isKeeping_ && !timer_.isSet()) {
      timer_.onceAfter(kGathering);
   }
}

void StateFolder::keep() {
   isKeeping_ = true;
   isChanged_ = false;
   snapshots_.ask(
      [this]() -> Snapshots::Answer {
         write(kNext);
         return {kFine, {}};
      },
      [this](Snapshots::Answer const& answer) {
         isKeeping_ = false;
         if (answer.status != kFine) {
            say(location(file(), 0) + "the outputs could not be kept: " + answer.text);
            isChanged_ = true;
         }
         if (isChanged_) {
            timer_.onceAfter(answer.status == kFine
                                ? std::chrono::nanoseconds(kGathering)
                                : kNextWrite);
         }
      });
}

// What is there is whole at any time: a process may be killed, a system may fail.
void StateFolder::write(char const* draft) const {
   auto const next = file() + draft;
   auto const descriptor = newFile(next);
   auto const text = state_.outputsToJson().dump(1) + '\n';
   if (writeAll(descriptor.number(), text) != 0) {
      fileFailed(next, "it cannot be written");
   }
   if (fsync(descriptor.number()) != 0 || rename(next.c_str(), file().c_str()) != 0 ||
       fsync(openFolder(folder_).number()) != 0) {
      fileFailed(file(), "it cannot be written");
   }
}

void StateFolder::finish() {
   timer_.unset();
   snapshots_.giveUp(); // and goes when it goes, so it may be at its draft yet
   write(kLast);
}

} // namespace Agent
