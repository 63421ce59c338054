#pragma once

#include "pelk/Trace.h"

#include <algorithm>
#include <cstdint>
#include <gmock/gmock.h>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Support {

// A line of the text trace that was recorded.
struct TraceLine {
   std::string name;
   std::string file;
   std::string function;
   uint32_t line = 0;
   uint16_t level = 0;
   std::string text;
};

inline std::ostream& operator<<(std::ostream& out, TraceLine const& line) {
   return out << line.name << ' ' << line.level << ' ' << line.file << ':' << line.line
              << ' ' << line.function << ": \"" << line.text << '"';
}

// Records the text trace while it lives, with the given levels on for all facilities,
// and then puts back the levels and the sink that were there.
class TraceRecorder final : public Pelk::TraceSink {
 public:
   explicit TraceRecorder(Pelk::TraceLevels levels = Pelk::TraceLevels::all())
      : levelsBefore_(Pelk::Trace::levels()), sinkBefore_(Pelk::Trace::sinkIs(this)) {
      Pelk::Trace::levelsIs(levels);
   }
   explicit TraceRecorder(std::string_view levels)
      : TraceRecorder(Pelk::TraceLevels::fromText(levels)) {}
   ~TraceRecorder() override {
      Pelk::Trace::levelsIs(levelsBefore_);
      Pelk::Trace::sinkIs(sinkBefore_);
   }

   void trace(Pelk::TraceRecord const& record) override {
      lines_.push_back({std::string(record.name), std::string(record.file),
                        std::string(record.function), record.line, record.level,
                        std::string(record.text)});
   }

   std::vector<TraceLine> const& lines() const noexcept { return lines_; }
   bool empty() const noexcept { return lines_.empty(); }
   void clear() noexcept { lines_.clear(); }

   // The texts alone, in order; of one level, or of one function.
   std::vector<std::string> texts() const {
      return select([](TraceLine const&) { return true; });
   }
   std::vector<std::string> texts(uint16_t level) const {
      return select([&](TraceLine const& line) { return line.level == level; });
   }
   std::vector<std::string> textsOf(std::string_view function) const {
      return select([&](TraceLine const& line) { return line.function == function; });
   }

   // How many lines have the text.
   size_t count(std::string_view text) const {
      return static_cast<size_t>(
         std::count_if(lines_.begin(), lines_.end(),
                       [&](TraceLine const& line) { return line.text == text; }));
   }
   bool has(std::string_view text) const { return count(text) != 0; }

 private:
   template <typename Predicate>
   std::vector<std::string> select(Predicate const& predicate) const {
      std::vector<std::string> texts;
      for (auto const& line : lines_) {
         if (predicate(line)) {
            texts.push_back(line.text);
         }
      }
      return texts;
   }

   std::vector<TraceLine> lines_;
   Pelk::TraceLevels levelsBefore_;
   Pelk::TraceSink* sinkBefore_;
};

// EXPECT_THAT(recorder.lines(), Contains(isLine("eventToVrfStream", 7, "...")))
inline testing::Matcher<TraceLine const&>
isLine(std::string_view function, uint16_t level, std::string_view text) {
   return testing::AllOf(
      testing::Field("function", &TraceLine::function, std::string(function)),
      testing::Field("level", &TraceLine::level, level),
      testing::Field("text", &TraceLine::text, std::string(text)));
}

} // namespace Support
