#include "agent/Replay.h"

#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/Host.h"
#include "agent/JsonText.h"
#include "agent/Patch.h"
#include "agent/Progress.h"
#include "agent/Records.h"

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using Pointer = json::json_pointer;

constexpr char const* kHostLines = "one of drain, slice, stop, start, restart, flag";

struct Line {
   size_t number; // in the file, from 1
   std::string text;
};

// The lines of the event file that hold something, one at a time, so that a program can
// write a line and wait for what it does.
class EventLines {
 public:
   explicit EventLines(std::string const& file)
      : text_(file == "-" ? "" : readFile(file)), content_(text_),
        in_(file == "-" ? std::cin : content_) {}

   // How much there is to read, in bytes; 0 if that is not known.
   size_t size() const noexcept { return text_.size(); }

   // The next line, which stays the next one; null at the end.
   Line const* peek() {
      while (!next_ && std::getline(in_, current_.text)) {
         ++current_.number;
         auto const first = current_.text.find_first_not_of(" \t\r");
         if (first != std::string::npos && current_.text[first] != '#') {
            next_ = &current_;
         }
      }
      return next_;
   }
   void drop() { next_ = nullptr; }

 private:
   std::string text_;
   std::istringstream content_;
   std::istream& in_;
   Line current_{0, {}};
   Line const* next_ = nullptr;
};

class Player final : private Patch::Observer {
 public:
   explicit Player(Options const& options)
      : options_(options), lines_(options.events), host_(options) {}

   int play() {
      host_.loadState();
      // From here on, so that what the state document says is no change.
      Records records(host_.state(), stdout);
      records_ = &records;
      Progress progress("replaying", lines_.size());
      if (!beginsStopped()) {
         records.write({{"line", 0}});
         host_.start();
         afterwards(0);
      }
      for (bool isFirst = true; auto const* line = lines_.peek(); isFirst = false) {
         play(*line, isFirst);
         progress.step(line->text.size() + 1);
         lines_.drop();
         if (options_.events == "-") {
            std::fflush(stdout);
         }
      }
      host_.stop();
      size_t const errors = host_.verified();
      records.write(
         {{"end", {{"slices", slices_}, {"tests", tests_}, {"failed", failed_}}}});
      return errors != 0 ? kDisagrees : failed_ != 0 ? kTestFailed : kFine;
   }

 private:
   bool beginsStopped() {
      auto const* const first = lines_.peek();
      return first != nullptr && parsed(*first) == json{{"host", "stop"}};
   }

   json parsed(Line const& line) const {
      return parseJson(line.text, options_.events, line.number);
   }

   void play(Line const& line, bool isFirst) {
      auto const event = parsed(line);
      try {
         if (event.is_object() && event.contains("host")) {
            auto const hostLine = checkedHostLine(event, isFirst);
            records_->write({{"line", line.number}});
            playHost(hostLine, event);
         } else {
            Patch const patch(host_.state(), event, options_.checks);
            records_->write({{"line", line.number}});
            line_ = line.number;
            tests_ += patch.apply(*this);
         }
      } catch (BadInput const& error) {
         throw InputError(location(options_.events, line.number) + error.what());
      }
      afterwards(line.number);
   }

   // What follows every line.
   void afterwards(size_t line) {
      slices_ += host_.drain();
      host_.verify(location(options_.events, line));
   }

   // The name of the host line; BadInput if it cannot be done.
   std::string checkedHostLine(json const& event, bool isFirst) const {
      auto const& given = event.at("host");
      Pointer const at = Pointer() / "host";
      auto const name = given.is_string() ? given.get<std::string>() : std::string();
      for (auto const& [member, value] : event.items()) {
         if (member != "host" && !(name == "slice" && member == "count") &&
             !(name == "flag" && (member == "want" || member == "value"))) {
            throw BadInput(Pointer() / member, "the unknown member " + quote(member),
                           "what the host line needs and no more");
         }
      }
      if (name == "flag") {
         throw BadInput(at, "a flag",
                        "a flag of the dataflow machine, which does not run here");
      }
      if (name == "slice") {
         auto const count = event.find("count");
         if (count == event.end() || !count->is_number_unsigned()) {
            throw BadInput(Pointer() / "count",
                           count == event.end() ? "nothing" : excerpt(*count),
                           "a whole number of slices");
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

   void writing(bool toOutput) override { host_.byAnotherWriterIs(toOutput); }
   void written() override { host_.byAnotherWriterIs(false); }
   void failed(FailedTest const& test) override {
      ++failed_;
      records_->write({{"test", "failed"},
                       {"line", line_},
                       {"path", test.pointer.to_string()},
                       {"want", test.want},
                       {"have", test.have}});
   }

   Options const& options_;
   EventLines lines_;
   Host host_;
   Records* records_ = nullptr;
   size_t line_ = 0; // that is being played
   uint64_t slices_ = 0;
   uint64_t tests_ = 0;
   uint64_t failed_ = 0;
};

} // namespace

int replay(Options const& options) {
   return Player(options).play();
}

} // namespace Agent
