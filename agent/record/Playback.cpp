#include "agent/record/Playback.h"

#include "agent/BadInput.h"
#include "agent/JsonText.h"
#include "agent/OutOfMemory.h"
#include "agent/record/Recording.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Agent {

using nlohmann::json;

namespace {

// Of the first record of a file.
bool isHeader(json const& record) {
   return record.is_object() && record.contains("recording");
}

bool isBundle(json const& record) {
   return record.is_object() && record.contains("bundle");
}

// Short, and whatever it holds is not nested deep.
bool isPlain(std::string_view text) {
   constexpr size_t kShort = size_t{1} << 14;
   constexpr auto kFew = 32;
   return text.size() < kShort && std::ranges::count(text, '[') <= kFew &&
          std::ranges::count(text, '{') <= kFew;
}

// An option of the header. What the value is not, its caller says.
template <typename T>
T optionOf(json const& options, char const* name) {
   return options.at(name).get<T>();
}

} // namespace

bool Playback::isOne(FileText const& file) {
   Doing const doing("reading", file.file().c_str());
   EventLines lines(file);
   auto const* const first = lines.peek();
   // The line may be long, and no recording's.
   if (first == nullptr || (first->text.find("\"recording\"") == std::string::npos &&
                            first->text.find("\"bundle\"") == std::string::npos)) {
      return false;
   }
   auto const record = json::parse(first->text, nullptr, false);
   return isHeader(record) || isBundle(record);
}

Playback::Playback(FileText const& file) : file_(file.file()), lines_(file) {
   header_ = record();
   if (isBundle(header_)) {
      while (!header_.is_null() && !isHeader(header_)) {
         header_ = record();
      }
   }
   if (!isHeader(header_)) {
      refuse(excerpt(header_), "a recording's first line");
   }
   headerLine_ = line_;
   if (header_.at("recording") != kRecordingVersion) {
      refuse("a recording of version " + excerpt(header_.at("recording")),
             "version " + std::to_string(kRecordingVersion));
   }
   if (!header_.contains("state") || !header_.contains("options")) {
      refuse(excerpt(header_), "options and state");
   }
}

Options Playback::options(Options const& given) const {
   auto options = given;
   try {
      auto const& recorded = header_.at("options");
      options.both = false;
      options.machine = optionOf<std::string>(recorded, "sm") == "reactor"
                           ? Verify::Machine::reactor
                           : Verify::Machine::dataflow;
      options.af = Lidra::addressFamilyFromText(optionOf<std::string>(recorded, "af"));
      options.mode = optionOf<std::string>(recorded, "mode") == "sync"
                        ? Vorn::RunMode::synchronous
                        : Vorn::RunMode::asynchronous;
      options.seed = optionOf<uint32_t>(recorded, "seed");
      options.toggles = optionOf<std::vector<std::string>>(recorded, "toggles");
      options.toggleFile.clear();
      options.sliceItems.reset();
      options.checks =
         optionOf<bool>(recorded, "unchecked") ? Checks::unchecked : Checks::plausible;
   } catch (std::exception const& error) {
      refuse(std::string("options that cannot be used (") + error.what() + ")",
             "those that the recorder writes");
   }
   options.manual = true;
   return options;
}

json Playback::record() {
   if (!pending_.is_null()) {
      return std::exchange(pending_, {});
   }
   auto const* const line = lines_.peek();
   if (line == nullptr) {
      return {};
   }
   line_ = line->number;
   json record;
   try {
      record = parsed(*line);
   } catch (InputError const&) {
      if (line->isWhole || header_.is_null()) {
         throw;
      }
      tornLine_ = line_;
   }
   lines_.drop();
   return record;
}

// A program wrote the line, most likely, and it is plain, most likely: all that
// parseJson() sees to costs as much again.
json Playback::parsed(EventLines::Line const& line) const {
   auto record = isPlain(line.text) ? json::parse(line.text, nullptr, false)
                                    : json(json::value_t::discarded);
   return record.is_discarded() ? parseJson(line.text, file_, line.number) : record;
}

json Playback::stateFor(State const& state, Options const& options) const {
   try {
      return state.canonical(this->state(), options.checks);
   } catch (BadInput const& error) {
      throw InputError(location(file_, headerLine_) + "/state" + error.what());
   }
}

std::string Playback::headerText(char const* member) const {
   auto const found = header_.find(member);
   return found != header_.end() && found->is_string() ? found->get<std::string>()
                                                       : std::string();
}

std::string Playback::noteOnEnd() const {
   if (tornLine_ != 0) {
      return fmt::format("mcastvpn-agent: {}this line is cut off and was left out: the "
                         "process ended while it wrote it\n",
                         location(file_, tornLine_));
   }
   return isClosed_ ? ""
                    : fmt::format("mcastvpn-agent: {}the recording has no end: its "
                                  "process ended in the middle\n",
                                  location(file_, 0));
}

std::optional<RecordedStep> Playback::next() {
   auto record = this->record();
   if (record.is_null() || record.contains("end")) {
      isClosed_ = !record.is_null();
      return std::nullopt;
   }
   RecordedStep step;
   try {
      step.line = line_;
      step.time = step.end = record.at("t").get<int64_t>();
      step.play = record.at("play");
      step.text = step.play.dump();
      for (record = this->record();; record = this->record()) {
         if (record.is_null()) {
            step.isWhole = false;
            break;
         }
         if (record.contains("play") || record.contains("end")) {
            pending_.swap(record);
            break;
         }
         step.end = record.at("t").get<int64_t>();
         if (record.contains("wrote")) {
            step.writes.push_back(
               {step.end, record.at("wrote"), record.at("cause").get<uint64_t>()});
         } else {
            step.ends = record.at("ends").get<SliceEnds>();
            if (auto const slice = record.find("slice"); slice != record.end()) {
               step.slice = {slice->at("task"), slice->at("items"), slice->at("time")};
            }
         }
      }
   } catch (json::exception const&) {
      refuse(excerpt(record), R"(a record with "play", "wrote" or "ends")");
   }
   return step;
}

void Playback::refuse(std::string const& found, std::string const& allowed) const {
   throw InputError(
      fmt::format("{}{}; allowed is {}", location(file_, line_), found, allowed));
}

} // namespace Agent
