#include "agent/Replay.h"

#include "agent/BadInput.h"
#include "agent/ComparisonText.h"
#include "agent/ExitStatus.h"
#include "agent/InputFile.h"
#include "agent/JsonText.h"
#include "agent/Lane.h"
#include "agent/MachineNames.h"
#include "agent/Progress.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"
#include "agent/TwoMachines.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;

struct Line {
   size_t number; // in the file, from 1
   std::string text;
};

// The lines of the event file that hold something, one at a time, so that a program can
// write a line and wait for what it does.
class EventLines {
 public:
   explicit EventLines(std::string const& file)
      : isStandardInput_(file == "-"), text_(isStandardInput_ ? "" : readFile(file)),
        content_(text_) {}

   // How much there is to read, in bytes; 0 if that is not known.
   size_t size() const noexcept { return text_.size(); }

   // The next line, which stays the next one; null at the end.
   Line const* peek() {
      while (!next_ && nextLine()) {
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
   bool nextLine() {
      return isStandardInput_
                ? readLine(current_.text)
                : static_cast<bool>(std::getline(content_, current_.text));
   }

   bool isStandardInput_;
   std::string text_;
   std::istringstream content_;
   Line current_{0, {}};
   Line const* next_ = nullptr;
};

// Plays the lines with one machine, or with both in turn.
class Player {
 public:
   explicit Player(Options const& options)
      : options_(options), lines_(options.events),
        progress_("replaying", lines_.size()) {
      for (auto const& own : optionsOfEach(options)) {
         lanes_.push_back(
            std::make_unique<Lane>(own, options.both ? smName(own.machine) : ""));
         hosts_.push_back(&lanes_.back()->host());
      }
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
   bool beginsStopped() {
      auto const* const first = lines_.peek();
      return first != nullptr && parsed(*first) == json{{"host", "stop"}};
   }

   json parsed(Line const& line) const {
      return parseJson(line.text, options_.events, line.number);
   }

   void play(Line const& line, bool isFirst) {
      auto const event = parsed(line);
      auto const steps = checked(line, event, isFirst);
      for (size_t i = 0; i < lanes_.size(); ++i) {
         lanes_[i]->play(line.number, steps[i]);
      }
      compare(line.number);
   }

   // The line is checked for every lane before it is played in one.
   std::vector<Lane::Step> checked(Line const& line, json const& event, bool isFirst) {
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
   Progress progress_;
   std::vector<std::unique_ptr<Lane>> lanes_;
   std::vector<Host*> hosts_;
   std::optional<TwoMachines> machines_;
};

} // namespace

int replay(Options const& options) {
   return Player(options).play();
}

} // namespace Agent
