#pragma once

#include "agent/Options.h"
#include "agent/Provenance.h"
#include "agent/State.h"
#include "agent/record/FileWriter.h"
#include "agent/record/GrowingNumber.h"
#include "agent/record/StepShare.h"
#include "agent/record/Stopwatch.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

// A recording: what happened to a machine and what it did, so that it can be played
// again exactly. JSON Lines:
//
//   {"recording":1,"agent":"1.0.0","time":"…Z","options":{…},"state":{…}}
//   {"t":15,"play":{"host":"start"}}
//   {"t":17,"wrote":{"op":"add","path":"/transitIntfColl/intf/Vlan10",…},"cause":0}
//   {"t":21,"ends":[[5],[]],"slice":{"task":"…","items":5,"time":3}}
//   {"t":400,"play":{"op":"add","path":"/pegVlanStatus/pegVlan/20","value":{}}}
//   {"t":900,"end":{"steps":3,"inputs":1,"writes":1}}
//
// The first line has the version of this form, the options that change what a machine
// does (with the hash seed, whoever chose it) and the whole state that it starts from.
// "play" is a step, as a line of an event file has it; "wrote" what the machine wrote
// in it, as replay prints it, with the number of the input change that it is put down
// to; "ends" closes a step in which slices began, with the polls of each that were
// answered with yes, and tells of the slice, if the step was one. "t" are microseconds
// since the first line was written. Without "end" the process ended in the middle of a
// step.
namespace Agent {

// The version of the form. A reader refuses what it does not know.
inline constexpr int kRecordingVersion = 1;

// Keeps what a file holds when it is to hold a recording, under its name with ".1": an
// agent that was killed and starts again so leaves what was recorded of it. Those that
// came before move on, up to ".9", whose place the last but one takes. Returns what
// people are to be told of it; empty if nothing was recorded there. InputError if it
// cannot be kept.
std::string keepRecording(std::string const& file);

// Writes one while a machine runs, by a process of its own that waits for the disk.
// What was recorded will be in the file soon, even if this process ends in whatever
// way. Event thread only.
class Recorder {
 public:
   // Begins with what the state holds. InputError if the file cannot be written, here
   // and below, some time after it could not be.
   Recorder(std::string file, Options const& options, State const& state);
   // Of an agent that goes on whatever becomes of its recording: who is told, once,
   // from here on that the file cannot be written, in the place of the exception; what
   // happens next is not recorded then. It never waits for a disk that is slow, but
   // keeps what is to be written, until that is too much.
   void failuresGoTo(std::function<void(std::string const& error)> told) {
      told_ = std::move(told);
   }
   Recorder(Recorder const&) = delete;
   Recorder& operator=(Recorder const&) = delete;
   ~Recorder();

   // Something is done to the machine from outside: an operation, a host line. The text
   // is one JSON value.
   void stepBegins(std::string_view play);
   // Called from inside notifications, so nothing is told here.
   void wrote(std::string_view operation, uint64_t cause);
   // What the step was, once it is done.
   struct Slice {
      std::string_view task;
      uint64_t items = 0;
      std::chrono::nanoseconds time{};
   };
   void stepEnds(SliceEnds const& ends, Slice const* slice = nullptr);

   // What was recorded is in the file then, unless that has failed.
   void end(uint64_t inputs);
   // Can be read from when newsCame() is to be called, unless it has failed.
   int news() const noexcept { return writer_.news(); }
   void newsCame();
   // Nothing is recorded any more.
   bool hasFailed() const noexcept { return hasFailed_; }

 private:
   template <typename... Parts>
   void gather(Parts const&... parts);
   uint64_t now() { return static_cast<uint64_t>(stopwatch_.passed().count()); }
   void gatherLong(std::string_view text);
   char* roomFor(size_t most);
   void finish();
   void lookForErrors();
   void failed(std::string const& why);

   std::string file_;
   FileWriter writer_;
   Stopwatch<> stopwatch_;
   GrowingNumber times_;
   GrowingNumber causes_;
   std::function<void(std::string const&)> told_;
   bool isBehind_ = false; // more than can wait for the disk
   bool hasFailed_ = false;
   uint64_t steps_ = 0;
   uint64_t writes_ = 0;
};

} // namespace Agent
