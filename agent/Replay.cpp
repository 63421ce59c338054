#include "agent/Replay.h"

#include "agent/BadInput.h"
#include "agent/Host.h"
#include "agent/JsonText.h"
#include "agent/Patch.h"
#include "agent/Progress.h"
#include "agent/Records.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using Pointer = json::json_pointer;

constexpr char const* kHostLines = "one of drain, slice, stop, start, restart, flag";

struct Line {
   size_t number;
   std::string_view text;
};

// The lines that hold something, with their numbers in the file, from 1.
std::vector<Line> linesOf(std::string_view text) {
   std::vector<Line> lines;
   size_t number = 1;
   for (size_t from = 0; from < text.size(); ++number) {
      auto const end = std::min(text.find('\n', from), text.size());
      auto const line = text.substr(from, end - from);
      auto const first = line.find_first_not_of(" \t\r");
      if (first != std::string_view::npos && line[first] != '#') {
         lines.push_back({number, line});
      }
      from = end + 1;
   }
   return lines;
}

class Player {
 public:
   Player(Options const& options, std::vector<Line> const& lines)
      : options_(options), lines_(lines), host_(options) {}

   int play() {
      host_.loadState();
      // From here on, so that what the state document says is no change.
      Records records(host_.state(), stdout);
      records_ = &records;
      Progress progress("replaying", lines_.size());
      if (!beginsStopped()) {
         records.write({{"line", 0}});
         host_.start();
         slices_ += host_.drain();
      }
      for (auto const& line : lines_) {
         progress.step();
         play(line);
      }
      host_.stop();
      records.write(
         {{"end", {{"slices", slices_}, {"tests", tests_}, {"failed", failed_}}}});
      return failed_ == 0 ? 0 : 1;
   }

 private:
   bool beginsStopped() const {
      return !lines_.empty() && parsed(lines_.front()) == json{{"host", "stop"}};
   }

   json parsed(Line const& line) const {
      return parseJson(line.text, options_.events, line.number);
   }

   void play(Line const& line) {
      auto const event = parsed(line);
      try {
         if (event.is_object() && event.contains("host")) {
            bool const isFirst = line.number == lines_.front().number;
            auto const hostLine = checkedHostLine(event, isFirst);
            records_->write({{"line", line.number}});
            playHost(hostLine, event);
         } else {
            Patch const patch(host_.state(), event, options_.checks);
            records_->write({{"line", line.number}});
            tests_ += patch.apply(
               [&](FailedTest const& test) { reportFailure(line.number, test); });
         }
      } catch (BadInput const& error) {
         throw InputError(location(options_.events, line.number) + error.what());
      }
      slices_ += host_.drain();
   }

   // The name of the host line; BadInput if it cannot be done.
   std::string checkedHostLine(json const& event, bool isFirst) const {
      auto const& given = event.at("host");
      Pointer const at = Pointer() / "host";
      auto const name = given.is_string() ? given.get<std::string>() : std::string();
      if (name == "flag") {
         throw BadInput(at, "a flag",
                        "a flag of the dataflow machine, which does not run here");
      }
      if (name == "slice") {
         auto const count = event.find("count");
         if (count == event.end() || !count->is_number_unsigned()) {
            throw BadInput(Pointer() / "count",
                           count == event.end() ? "nothing" : excerpt(*count),
                           "a number of slices");
         }
      } else if (name == "start" && host_.isRunning()) {
         throw BadInput(at, "a start while a machine runs", "a start after a stop");
      } else if ((name == "stop" || name == "restart") && !host_.isRunning() &&
                 !(name == "stop" && isFirst)) {
         throw BadInput(at, "a " + name + " while no machine runs",
                        "a " + name + " after a start");
      } else if (name != "drain" && name != "slice" && name != "stop" &&
                 name != "start" && name != "restart") {
         throw BadInput(at, excerpt(given), kHostLines);
      }
      return name;
   }

   void playHost(std::string const& name, json const& event) {
      if (name == "drain") {
         slices_ += host_.drain();
      } else if (name == "slice") {
         slices_ += host_.slice(event.at("count").get<uint64_t>());
      }
      if (name == "stop" || name == "restart") {
         host_.stop();
      }
      if (name == "start" || name == "restart") {
         host_.start();
      }
   }

   void reportFailure(size_t line, FailedTest const& test) {
      ++failed_;
      records_->write({{"test", "failed"},
                       {"line", line},
                       {"path", test.pointer.to_string()},
                       {"want", test.want},
                       {"have", test.have}});
   }

   Options const& options_;
   std::vector<Line> const& lines_;
   Host host_;
   Records* records_ = nullptr;
   uint64_t slices_ = 0;
   uint64_t tests_ = 0;
   uint64_t failed_ = 0;
};

} // namespace

int replay(Options const& options) {
   auto const text = readFile(options.events);
   auto const lines = linesOf(text);
   return Player(options, lines).play();
}

} // namespace Agent
