#include "agent/Replay.h"

#include "agent/BadInput.h"
#include "agent/ComparisonText.h"
#include "agent/EventLines.h"
#include "agent/ExitStatus.h"
#include "agent/JsonText.h"
#include "agent/Lane.h"
#include "agent/MachineNames.h"
#include "agent/Progress.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"
#include "agent/TwoMachines.h"
#include "agent/record/FirstDifference.h"
#include "agent/record/Playback.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;

// Plays the lines with one machine, or with both in turn.
class Player {
 public:
   // With the lines of standard input, or of a file.
   explicit Player(Options const& options) : options_(options) { addLanes(); }
   Player(Options const& options, FileText const& events)
      : options_(options), lines_(events), progress_("replaying", lines_.size()) {
      addLanes();
   }
   // Each lane's records stand in the trace's place of those before them, which they
   // put back.
   ~Player() {
      while (!lanes_.empty()) {
         lanes_.pop_back();
      }
   }
   Player(Player const&) = delete;
   Player& operator=(Player const&) = delete;

   int play() {
      loadState(hosts_, options_);
      if (options_.both) {
         machines_.emplace(*hosts_[0], *hosts_[1], options_);
      }
      bool const isStopped = beginsStopped();
      for (auto const& lane : lanes_) {
         lane->begin(isStopped);
      }
      compare(0);
      for (bool isFirst = true; auto const* line = lines_.peek(); isFirst = false) {
         play(*line, isFirst);
         progress_.step(line->text.size() + 1);
         lines_.drop();
         if (options_.events == "-") {
            flushResults();
         }
         requireResults();
      }
      return end();
   }

 private:
   void addLanes() {
      for (auto const& own : optionsOfEach(options_)) {
         lanes_.push_back(
            std::make_unique<Lane>(own, options_.both ? smName(own.machine) : ""));
         hosts_.push_back(&lanes_.back()->host());
      }
   }

   bool beginsStopped() {
      auto const* const first = lines_.peek();
      return first != nullptr && parsed(*first) == json{{"host", "stop"}};
   }

   json parsed(EventLines::Line const& line) const {
      return parseJson(line.text, options_.events, line.number);
   }

   void play(EventLines::Line const& line, bool isFirst) {
      auto const event = parsed(line);
      auto const steps = checked(line, event, isFirst);
      for (size_t i = 0; i < lanes_.size(); ++i) {
         lanes_[i]->play(line.number, steps[i], line.text);
      }
      compare(line.number);
   }

   // The line is checked for every lane before it is played in one.
   std::vector<Lane::Step> checked(EventLines::Line const& line, json const& event,
                                   bool isFirst) {
      std::vector<Lane::Step> steps;
      try {
         for (auto const& lane : lanes_) {
            steps.push_back(lane->checked(event, isFirst));
         }
      } catch (BadInput const& error) {
         auto const where = location(options_.events, line.number);
         if (!options_.both) {
            throw InputError(where + error.what());
         }
         auto const machine =
            steps.empty() ? Verify::Machine::reactor : Verify::Machine::dataflow;
         throw InputError(
            fmt::format("{}{}: {}", where, machineName(machine), error.what()));
      }
      return steps;
   }

   void compare(size_t line) {
      if (machines_) {
         machines_->compare(location(options_.events, line));
      }
   }

   int end() {
      std::string table;
      if (machines_) {
         ComparisonText const text(hosts_[0]->state(), hosts_[1]->state(), *machines_,
                                   options_);
         table = text.table(Rows::all, mayDecorate(stderr));
      }
      int status = machines_ ? machines_->status() : kFine;
      for (auto const& lane : lanes_) {
         status = std::max(status, lane->end());
      }
      flushResults();
      std::fwrite(table.data(), 1, table.size(), stderr);
      return status;
   }

   Options const& options_;
   EventLines lines_;
   Progress progress_{"replaying", 0};
   std::vector<std::unique_ptr<Lane>> lanes_;
   std::vector<Host*> hosts_;
   std::optional<TwoMachines> machines_;
};

// Plays a recording, and tells where it comes out otherwise.
class RecordingPlayer {
 public:
   RecordingPlayer(Options const& given, FileText const& recording)
      : playback_(recording), options_(playback_.options(given)), lane_(options_, {}),
        progress_("replaying", playback_.size()) {}

   int play() {
      auto& state = lane_.host().state();
      state.assign(playback_.stateFor(state, options_));
      lane_.keepWrites();
      lane_.begin(true);
      while (auto const step = playback_.next()) {
         play(*step);
         progress_.step(step->text.size());
         requireResults();
      }
      if (auto const note = playback_.noteOnEnd(); !note.empty()) {
         printMessage(note);
      }
      int const status = lane_.end();
      return difference_.isFound() ? kTestFailed : status;
   }

 private:
   void play(RecordedStep const& step) {
      std::optional<Lane::Step> checked;
      try {
         checked = lane_.checked(step.play, false);
      } catch (BadInput const& error) {
         throw InputError(location(options_.events, step.line) + error.what());
      }
      lane_.host().sliceEndsAre(step.ends);
      lane_.play(step.line, *checked, step.text);
      if (auto const text = difference_.compare(step, lane_.takeWrites());
          !text.empty()) {
         printMessage(text);
      }
   }

   Playback playback_;
   Options const options_;
   Lane lane_;
   Progress progress_;
   FirstDifference difference_{options_.events};
};

} // namespace

int replay(Options const& options) {
   if (options.events == "-") { // which is played as it comes
      return Player(options).play();
   }
   FileText const events(options.events);
   return Playback::isOne(events) ? RecordingPlayer(options, events).play()
                                  : Player(options, events).play();
}

} // namespace Agent
