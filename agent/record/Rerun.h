#pragma once

#include "agent/Host.h"
#include "agent/InputFile.h"
#include "agent/Options.h"
#include "agent/Patch.h"
#include "agent/Provenance.h"
#include "agent/observe/Phase.h"
#include "agent/observe/Statistics.h"
#include "agent/observe/StreamEvents.h"
#include "agent/record/FirstDifference.h"
#include "agent/record/Playback.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// Something that happened in a step.
struct Moment {
   enum class Kind {
      input, // an input changed
      event, // an event passed in a stream
      write, // an output was written to
   };

   Kind kind = Kind::event;
   // Microseconds since the recording began. Of what the machine wrote, as it was
   // recorded; of the rest, evenly between what was recorded before and after it.
   double time = 0;
   nlohmann::ordered_json operation; // of an input and a write
   // Of a write; of an input, the change itself.
   InputChange change;
   size_t node = 0; // of an event: as in StreamEvent
   size_t from = 0;
   std::string text;
};

// A step of a recording that was played again, and all that happened in it.
struct PlayedStep {
   RecordedStep const& recorded;
   size_t number = 0; // 0 for the first
   // The recorded times, made to go on and never back.
   int64_t begin = 0;
   int64_t end = 0;
   std::vector<Moment> moments;    // in the order in which they happened
   std::vector<StreamEvent> sinks; // what came to them, without texts
   bool isStart = false;           // a machine was started in it
   Phase before;
   Phase after;
};

// Plays a recording in a host and prints nothing of it, for those who look at what
// happened. What is told between two steps is known as it then is: the state, the host.
// One in a process. Event thread only.
class Rerun final : private Patch::Observer {
 public:
   using Told = std::function<void(PlayedStep const& step)>;

   // given: what does not decide what the machine does. InputError, here and below, for
   // what is no recording.
   Rerun(FileText const& file, Options const& given);
   Rerun(Rerun const&) = delete;
   Rerun& operator=(Rerun const&) = delete;
   ~Rerun();

   Host& host() noexcept { return host_; }
   Playback const& playback() const noexcept { return playback_; }
   // As it was recorded.
   Options const& options() const noexcept { return options_; }
   // Whether the machine has streams and tasks.
   bool isDataflow() const noexcept {
      return options_.machine == Verify::Machine::dataflow;
   }

   // Plays it to its end, or to the step that came out otherwise, which is told on
   // standard error. Returns the exit status.
   int play(Told const& told);

 private:
   void play(RecordedStep const& recorded, PlayedStep& step);
   void doStep(RecordedStep const& recorded);
   void placeInTime(PlayedStep& step) const;
   void failed(FailedTest const&) override {} // is no part of what happened
   void writing(bool toOutput) override { host_.byAnotherWriterIs(toOutput); }
   void written() override { host_.byAnotherWriterIs(false); }

   std::string const file_;
   Playback playback_;
   Options const options_;
   std::vector<Moment> moments_; // of the step that is being played
   std::vector<StreamEvent> sinks_;
   std::vector<PlayedWrite> writes_;
   Host host_;
   FirstDifference difference_;
   std::optional<StreamEvents> events_;
   int64_t now_ = 0; // when the step before was over
};

// Counts what happened in a step. Slices as they were recorded: how long they take now
// says nothing of then.
void count(PlayedStep const& step, Statistics& statistics);

// What a machine came to in a step on its way from start to stop, as people are told:
// "start", "scanning done", "transit_intf reconciled, 1 of 4", "ready", "stop".
struct PhaseMark {
   std::string text;
   int64_t time;
};
std::vector<PhaseMark> phaseMarksOf(PlayedStep const& step, bool isDataflow);

} // namespace Agent
