#pragma once

#include "agent/InputFile.h"
#include "agent/Options.h"
#include "agent/Provenance.h"
#include "agent/State.h"
#include "agent/Verification.h"
#include "agent/observe/Phase.h"
#include "agent/record/Recording.h"
#include "agent/record/StepShare.h"
#include "fennlog/TraceHandle.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Ptr.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// The process in which a machine runs: sets what is one for the process (seed, toggles,
// trace), and makes and destroys the machine over a state. One in a process.
class Host {
 public:
   // Sets seed, toggles and trace levels. InputError if the toggle file is bad.
   explicit Host(Options const& options);
   ~Host();

   State& state() noexcept { return state_; }

   bool isRunning() const noexcept { return machine_ != nullptr; }
   // Constructs the machine. Requires that none runs.
   void start();
   // How often.
   size_t starts() const noexcept { return starts_; }
   // The flags of the machine, if it is a dataflow machine.
   std::optional<Flags> flags() const;
   // How far its start has come, and the same of a reactor, which has no way to go.
   Phase phase() const;
   // How many tasks wait for a slice, and how many slices there were.
   uint64_t pending() const noexcept { return scheduler_->pending(); }
   uint64_t slices() const noexcept { return scheduler_->slices(); }
   // Whether a machine runs and has nothing left to do.
   bool isIdle() const;
   // Destroys the machine; inputs and outputs stay.
   void stop();

   // Compares the outputs with the plain rule, if the options say so, a machine runs
   // and it is idle: nothing is pending. where: what is blamed, as in "events.jsonl:12:
   // ".
   void verify(std::string const& where);
   // The comparison with the plain rule. Requires that the options say that the outputs
   // are to be compared; std::logic_error else.
   Verify::Verifier& verifier();
   // Records each step from here on, before anything is started. What the machine
   // writes is recorded by whoever follows it (provenanceIs()). The recorder outlives
   // this.
   void recorderIs(Recorder* recorder);
   // Something is done to the machine's state next, and it is done: as a line of events
   // has it. For the recording.
   void stepBegins(std::string_view line);
   void stepEnds() { stepEnds(nullptr); }
   // Which change of an input last wrote each output; null if nobody has asked for it.
   Provenance const* provenance() const noexcept { return provenance_.get(); }
   // Keeps that from here on, before anything is started. changed, wrote: who else is
   // to hear of either; may be empty.
   void provenanceIs(Provenance::Input changed, Provenance::Output wrote);
   // Told of each slice from here on.
   void sliceObserverIs(Kolm::TaskScheduler::SliceObserver observer);
   // The machines that are started from here on write their decisions to this ring.
   // TransitSm has none to write.
   void traceRingIs(Pelk::Ptr<Fennlog::TraceHandle> ring) { ring_ = std::move(ring); }
   // Null for none.
   Pelk::Ptr<Fennlog::TraceHandle> const& traceRing() const { return ring_; }
   // The slices that begin in what is done next end as they did when it was recorded.
   void sliceEndsAre(SliceEnds ends);

   // What follows is written by another writer, or no more.
   void byAnotherWriterIs(bool is);
   bool isByAnotherWriter() const noexcept { return isByAnotherWriter_; }
   // Tells what the comparisons showed, if there are any; the number of errors.
   size_t verified() const;

   // Runs tasks until none is pending. Returns the number of slices.
   uint64_t drain();
   // Runs at most count slices, each of so many items; of 0: as the options say.
   // Returns how many there were to run.
   uint64_t slice(uint64_t count, uint32_t items = 0);

 private:
   class RunningMachine;

   void shareIs(uint32_t items);
   bool runSlice();
   void stepEnds(Recorder::Slice const* slice);
   void followSlices();
   void sliceEnded(Kolm::SliceReport const& report);
   bool hasTasks() const noexcept {
      return options_.machine == Verify::Machine::dataflow;
   }

   Options const options_;
   Pelk::Ptr<Kolm::TaskScheduler> scheduler_;
   State state_;
   std::optional<Verification> verification_;
   std::unique_ptr<RunningMachine> machine_;
   size_t starts_ = 0;
   bool isByAnotherWriter_ = false;
   std::unique_ptr<Provenance> provenance_;
   Kolm::TaskScheduler::SliceObserver observer_;
   Pelk::Ptr<Fennlog::TraceHandle> ring_;
   Recorder* recorder_ = nullptr;
   RecordedShare* recordedShare_ = nullptr; // the scheduler's, while it is recorded
   PlayedShare* playedShare_ = nullptr;     // the same, while a recording is played
};

// Publishes the document of the options, if they name one, in each of the hosts.
// InputError if it is bad; nothing of it is published then.
void loadState(std::vector<Host*> const& hosts, Options const& options);
// The same of a document that was read.
void loadState(std::vector<Host*> const& hosts, FileText const& file, Checks checks);

// The document at the file, made canonical. InputError, with file, line and pointer.
nlohmann::json loadDocument(State const& state, std::string const& file, Checks checks);
// The same of the text that stands in the file.
nlohmann::json documentOf(State const& state, std::string_view text,
                          std::string const& file, Checks checks);

} // namespace Agent
