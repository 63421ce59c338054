#pragma once

#include "agent/EventLines.h"
#include "agent/InputFile.h"
#include "agent/Options.h"
#include "agent/State.h"
#include "agent/record/StepShare.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Agent {

// A step of a recording, with all that was recorded of it.
struct RecordedStep {
   struct Write {
      int64_t time; // microseconds since the recording began
      nlohmann::json operation;
      uint64_t cause;
   };

   size_t line = 0;  // of the file
   int64_t time = 0; // as above
   std::string text; // a line of events
   nlohmann::json play;
   std::vector<Write> writes;
   SliceEnds ends;
   int64_t end = 0; // when it was over; that of its last record, if it was not told
   // What the slice was; no task if the step was none.
   struct Slice {
      std::string task;
      uint64_t items = 0;
      int64_t time = 0; // microseconds
   };
   std::optional<Slice> slice;
   // Whether more of the recording follows. What the process did behind the last record
   // that it wrote, nobody knows.
   bool isWhole = true;
};

// Reads a recording (agent/record/Recording.h), or the one in a bundle
// (agent/record/Bundle.h), step by step. InputError, with file and line, for what is
// none, here and below.
class Playback {
 public:
   // Whether the file begins as a recording does, or as a bundle.
   static bool isOne(FileText const& file);

   explicit Playback(FileText const& file);

   // Options that play it as it was recorded; those that change nothing of what the
   // machine does are taken from the ones given.
   Options options(Options const& given) const;
   // The state that it starts from, as a document.
   nlohmann::json const& state() const { return header_.at("state"); }
   // The same for the host that is to play it, checked again, as files can be changed.
   nlohmann::json stateFor(State const& state, Options const& options) const;
   nlohmann::json const& header() const noexcept { return header_; }
   // A text of it; empty if it has none.
   std::string headerText(char const* member) const;
   // Where that stands: behind the lines of a bundle.
   size_t headerLine() const noexcept { return headerLine_; }

   // How much there is to read, in bytes.
   size_t size() const noexcept { return lines_.size(); }

   // The next step; none behind the last one.
   std::optional<RecordedStep> next();
   // Whether the recording was closed, known behind the last step: the process that
   // made it did not end in the middle.
   bool isClosed() const noexcept { return isClosed_; }
   // What there is to say, behind the last step, of how the recording ends: lines for
   // standard error, or nothing.
   std::string noteOnEnd() const;

 private:
   nlohmann::json record();
   nlohmann::json parsed(EventLines::Line const& line) const;
   [[noreturn]] void refuse(std::string const& found, std::string const& allowed) const;

   std::string file_;
   EventLines lines_;
   size_t line_ = 0; // of the last record
   nlohmann::json header_;
   size_t headerLine_ = 0;
   nlohmann::json pending_; // read already; null for nothing
   bool isClosed_ = false;
   size_t tornLine_ = 0; // the last one, in the middle of which the process ended
};

} // namespace Agent
