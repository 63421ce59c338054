#include "agent/Replay.h"

#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/Host.h"
#include "agent/HostLine.h"
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
      auto const end = endRecord();
      host_.stop();
      size_t const errors = host_.verified();
      records.write({{"end", end}});
      return errors != 0 ? kDisagrees : failed_ != 0 ? kTestFailed : kFine;
   }

 private:
   ordered_json endRecord() const {
      ordered_json end;
      if (options_.machine == Verify::Machine::dataflow) {
         auto const flags = host_.flags().value_or(Flags{});
         end["idle"] = flags.idle;
         end["ready"] = flags.ready;
      }
      end["slices"] = slices_;
      end["tests"] = tests_;
      end["failed"] = failed_;
      return end;
   }

   bool beginsStopped() {
      auto const* const first = lines_.peek();
      return first != nullptr && parsed(*first) == json{{"host", "stop"}};
   }

   json parsed(Line const& line) const {
      return parseJson(line.text, options_.events, line.number);
   }

   void play(Line const& line, bool isFirst) {
      auto const event = parsed(line);
      line_ = line.number;
      try {
         if (event.is_object() && event.contains("host")) {
            auto const hostLine = hostLineOf(event, situation(isFirst));
            records_->write({{"line", line.number}});
            playHost(hostLine);
         } else {
            Patch const patch(host_.state(), event, options_.checks);
            records_->write({{"line", line.number}});
            tests_ += patch.apply(*this);
         }
      } catch (BadInput const& error) {
         throw InputError(location(options_.events, line.number) + error.what());
      }
      afterwards(line.number);
   }

   // What follows every line.
   void afterwards(size_t line) {
      if (!options_.manual) {
         slices_ += host_.drain();
      }
      host_.verify(location(options_.events, line));
   }

   Situation situation(bool isFirst) const {
      return {host_.isRunning(), options_.machine == Verify::Machine::dataflow,
              isFirst};
   }

   void playHost(HostLine const& line) {
      using Kind = HostLine::Kind;
      switch (line.kind) {
         case Kind::drain:
            slices_ += host_.drain();
            break;
         case Kind::slice:
            slices_ += host_.slice(line.count);
            break;
         case Kind::stop:
            host_.stop();
            break;
         case Kind::restart:
            host_.stop();
            host_.start();
            break;
         case Kind::start:
            host_.start();
            break;
         case Kind::flag:
            testFlag(line);
            break;
      }
   }

   void testFlag(HostLine const& line) {
      ++tests_;
      auto const flags = host_.flags().value_or(Flags{});
      bool const have = flags.*line.flag;
      if (have != line.value) {
         reportFailure(line.want, line.value, have);
      }
   }

   void writing(bool toOutput) override { host_.byAnotherWriterIs(toOutput); }
   void written() override { host_.byAnotherWriterIs(false); }
   void failed(FailedTest const& test) override {
      reportFailure(test.pointer.to_string(), test.want, test.have);
   }

   void reportFailure(std::string const& path, json const& want, json const& have) {
      ++failed_;
      records_->write({{"test", "failed"},
                       {"line", line_},
                       {"path", path},
                       {"want", want},
                       {"have", have}});
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
