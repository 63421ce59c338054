#include "agent/record/Rerun.h"

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/HostLine.h"
#include "agent/OutOfMemory.h"
#include "agent/Streams.h"
#include "agent/observe/Names.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

namespace Agent {

using nlohmann::ordered_json;

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

Rerun::Rerun(FileText const& file, Options const& given)
   : file_(file.file()), playback_(file), options_(playback_.options(given)),
     host_(options_), difference_(file_) {
   host_.state().assign(playback_.stateFor(host_.state(), options_));
   // Called inside notifications: what is told is kept until the step is over.
   host_.provenanceIs(
      [this](InputChange const& change, ordered_json const& operation) {
         moments_.push_back({Moment::Kind::input, 0, operation, change, 0, 0, {}});
      },
      [this](ordered_json const& operation, InputChange const& cause) {
         moments_.push_back({Moment::Kind::write, 0, operation, cause, 0, 0, {}});
         if (!cause.isAnotherWriter) {
            writes_.push_back({operation, cause.number});
         }
      });
   events_.emplace(
      options_.trace,
      [this](StreamEvent const& event) {
         if (Pipeline::kNodes[event.node].stage == Pipeline::Stage::sink) {
            sinks_.push_back({event.node, event.from, {}});
            return;
         }
         moments_.push_back({Moment::Kind::event,
                             0,
                             {},
                             {},
                             event.node,
                             event.from,
                             std::string(event.text)});
      },
      StreamEvents::Depth::streamsAndSinks);
}

Rerun::~Rerun() = default;

int Rerun::play(Told const& told) {
   for (size_t number = 0; auto const recorded = playback_.next(); ++number) {
      PlayedStep step{*recorded, number, 0, 0, {}, {}, false, host_.phase(), {}};
      play(*recorded, step);
      auto const text = difference_.compare(*recorded, writes_);
      writes_.clear();
      if (!text.empty()) {
         printMessage(text);
         return kTestFailed;
      }
      if (told) {
         told(step);
      }
   }
   printMessage(playback_.noteOnEnd());
   return kFine;
}

void Rerun::play(RecordedStep const& recorded, PlayedStep& step) {
   auto const starts = host_.starts();
   {
      Doing const doing("playing", file_.c_str(), recorded.line);
      doStep(recorded);
   }
   step.isStart = host_.starts() != starts;
   step.after = host_.phase();
   step.begin = std::max(now_, recorded.time);
   step.end = now_ = std::max(step.begin, recorded.end);
   step.moments = std::exchange(moments_, {});
   step.sinks = std::exchange(sinks_, {});
   placeInTime(step);
}

void Rerun::doStep(RecordedStep const& recorded) {
   host_.sliceEndsAre(recorded.ends);
   try {
      auto const& line = recorded.play;
      if (line.is_object() && line.contains("host")) {
         Agent::play(hostLineOf(line, {host_.isRunning(), isDataflow(), false}), host_);
      } else {
         Patch(host_.state(), line, options_.checks).apply(*this);
      }
   } catch (BadInput const& error) {
      throw InputError(location(file_, recorded.line) + error.what());
   }
}

// The machine's writes are where they were recorded. What happened between two of them
// is spread over the time between.
void Rerun::placeInTime(PlayedStep& step) const {
   auto const& writes = step.recorded.writes;
   auto& moments = step.moments;
   auto before = static_cast<double>(step.begin);
   size_t write = 0;
   for (size_t first = 0; first < moments.size();) {
      size_t last = first; // the next one whose time is known, or the end
      while (last < moments.size() && (moments[last].kind != Moment::Kind::write ||
                                       moments[last].change.isAnotherWriter)) {
         ++last;
      }
      bool const isWrite = last < moments.size() && write < writes.size();
      auto const after =
         std::clamp(static_cast<double>(isWrite ? writes[write].time : step.end),
                    before, static_cast<double>(step.end));
      auto const parts = static_cast<double>(last - first + 1);
      for (size_t i = first; i < last; ++i) {
         moments[i].time =
            before + (after - before) * static_cast<double>(i - first + 1) / parts;
      }
      if (last < moments.size()) {
         moments[last].time = after;
         ++write;
      }
      before = after;
      first = last + 1;
   }
}

void count(PlayedStep const& step, Statistics& statistics) {
   for (auto const& moment : step.moments) {
      switch (moment.kind) {
         case Moment::Kind::input:
            statistics.changed(moment.operation);
            break;
         case Moment::Kind::event:
            statistics.passedBy({moment.node, moment.from, moment.text});
            break;
         case Moment::Kind::write:
            statistics.wrote(moment.operation);
            break;
      }
   }
   for (auto const& event : step.sinks) {
      statistics.passedBy(event);
   }
   if (auto const& slice = step.recorded.slice) {
      statistics.sliceSeconds.add(static_cast<double>(slice->time) / 1e6);
      statistics.sliceItems.add(static_cast<double>(slice->items));
   }
}

std::vector<PhaseMark> phaseMarksOf(PlayedStep const& step, bool isDataflow) {
   std::vector<PhaseMark> marks;
   auto before = step.before;
   if (step.isStart) {
      if (before.kind != Phase::Kind::stopped) {
         marks.push_back({"stop", step.begin});
      }
      marks.push_back({"start", step.begin});
      before = {Phase::Kind::scanning, 0, {}};
   }
   auto const reached = [&](Phase::Kind kind) {
      return before.kind < kind && step.after.kind >= kind;
   };
   if (isDataflow && reached(Phase::Kind::reconciling)) {
      marks.push_back({"scanning done", step.end});
   }
   for (size_t i = 0, done = before.outputs(); isDataflow && i < Phase::kOutputs; ++i) {
      if (step.after.isReconciled[i] && !before.isReconciled[i]) {
         marks.push_back({fmt::format("{} reconciled, {} of {}", kOutputNames[i],
                                      ++done, Phase::kOutputs),
                          step.end});
      }
   }
   if (reached(Phase::Kind::ready)) {
      marks.push_back({"ready", step.end});
   }
   if (before.kind != Phase::Kind::stopped && step.after.kind == Phase::Kind::stopped) {
      marks.push_back({"stop", step.end});
   }
   return marks;
}

} // namespace Agent
