#include "agent/Lane.h"

#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/OutOfMemory.h"
#include "agent/Streams.h"

#include <fmt/format.h>

#include <utility>

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;

Lane::Lane(Options options, std::string_view sm)
   : options_(std::move(options)), sm_(sm), host_(options_) {}

// What the machine traces and records while it goes is this lane's.
Lane::~Lane() {
   if (recorder_) {
      recorder_->failuresGoTo([](std::string const& error) {
         printMessage(fmt::format("mcastvpn-agent: {}\n", error));
      });
   }
   if (records_) {
      records_->takeTrace();
   }
   host_.stop();
}

void Lane::keepWrites() {
   host_.provenanceIs(nullptr,
                      [this](ordered_json const& operation, InputChange const& cause) {
                         if (!host_.isByAnotherWriter()) {
                            writes_.push_back({operation, cause.number});
                         }
                      });
}

void Lane::begin(bool isStopped) {
   records_ = std::make_unique<Records>(sm_);
   if (options_.record.empty()) {
      records_->follow(host_.state(), [this](std::string const&) { notified(); });
   } else {
      record();
   }
   if (!isStopped) {
      records_->write({{"line", 0}});
      host_.start();
      afterwards(0);
   }
}

// What is printed of a write is what is recorded of it, and of the changes of inputs
// only their number: recording is to cost next to nothing.
void Lane::record() {
   recorder_ = std::make_unique<Recorder>(options_.record, options_, host_.state());
   host_.recorderIs(recorder_.get());
   for (auto const& member : host_.state().members()) {
      if (!member.isOutput) {
         inputs_.push_back(std::make_unique<EntityTree>(
            member.entity, json::json_pointer(),
            [this](EntityTree::Change const&) { ++inputChanges_; }));
      }
   }
   records_->follow(host_.state(), [this](std::string const& line) {
      if (!host_.isByAnotherWriter()) {
         recorder_->wrote(line, inputChanges_);
      }
   });
}

Lane::Step Lane::checked(json const& event, bool isFirst) {
   if (event.is_object() && event.contains("host")) {
      // Beside a dataflow machine the other one has no flags, and plays no such line.
      bool const hasFlags =
         options_.both || options_.machine == Verify::Machine::dataflow;
      auto line = hostLineOf(event, {host_.isRunning(), hasFlags, isFirst});
      if (line.kind == HostLine::Kind::inside && recorder_) {
         throw BadInput(json::json_pointer() / "host", "\"inside\"",
                        "what can be recorded (--record)");
      }
      return line;
   }
   return Patch(host_.state(), event, options_.checks);
}

void Lane::play(size_t line, Step const& step, std::string_view text) {
   Doing const doing("playing", options_.events.c_str(), line);
   line_ = line;
   records_->takeTrace();
   records_->write({{"line", line}});
   if (auto const* const hostLine = std::get_if<HostLine>(&step)) {
      playHost(*hostLine);
   } else {
      host_.stepBegins(text);
      tests_ += std::get<Patch>(step).apply(*this);
      host_.stepEnds();
   }
   afterwards(line);
}

// What follows every line.
void Lane::afterwards(size_t line) {
   if (!options_.manual) {
      slices_ += host_.drain();
   }
   host_.verify(location(options_.events, line));
}

void Lane::playHost(HostLine const& line) {
   slices_ += Agent::play(line, host_);
   if (line.kind == HostLine::Kind::flag &&
       options_.machine == Verify::Machine::dataflow) {
      testFlag(line);
   } else if (line.kind == HostLine::Kind::inside) {
      insides_.push_back({line.count, line.event, line_});
   }
}

// Somebody who follows the outputs changes something. Inside notifications, which no
// exception may leave.
void Lane::notified() {
   if (insides_.empty() || --insides_.front().left != 0) {
      return;
   }
   auto const inside = std::move(insides_.front());
   insides_.pop_front();
   bool const isByAnotherWriter = host_.isByAnotherWriter();
   host_.byAnotherWriterIs(false);
   try {
      tests_ += Patch(host_.state(), inside.event, options_.checks).apply(*this);
   } catch (BadInput const& error) {
      ++failed_;
      printMessage(fmt::format("mcastvpn-agent: {}/event{}\n",
                               location(options_.events, inside.line), error.what()));
   }
   host_.byAnotherWriterIs(isByAnotherWriter);
}

void Lane::testFlag(HostLine const& line) {
   ++tests_;
   auto const flags = host_.flags().value_or(Flags{});
   bool const have = flags.*line.flag;
   if (have != line.value) {
      reportFailure(line.want, line.value, have);
   }
}

void Lane::failed(FailedTest const& test) {
   reportFailure(test.pointer.to_string(), test.want, test.have);
}

void Lane::reportFailure(std::string const& path, json const& want, json const& have) {
   ++failed_;
   records_->write({{"test", "failed"},
                    {"line", line_},
                    {"path", path},
                    {"want", want},
                    {"have", have}});
}

ordered_json Lane::endRecord() const {
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

int Lane::end() {
   records_->takeTrace();
   auto const end = endRecord();
   host_.stop();
   if (recorder_) {
      recorder_->end(inputChanges_);
   }
   size_t const errors = host_.verified();
   records_->write({{"end", end}});
   return errors != 0 ? kDisagrees : failed_ != 0 ? kTestFailed : kFine;
}

} // namespace Agent
