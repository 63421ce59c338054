#pragma once

#include "agent/Options.h"
#include "agent/State.h"
#include "agent/Verification.h"
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

// The flags of a dataflow machine.
struct Flags {
   bool initialScanDone = false;
   bool idle = false;
   bool ready = false;
};

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
};

// Publishes the document of the options, if they name one, in each of the hosts.
// InputError if it is bad; nothing of it is published then.
void loadState(std::vector<Host*> const& hosts, Options const& options);

// The document at the file, made canonical. InputError, with file, line and pointer.
nlohmann::json loadDocument(State const& state, std::string const& file, Checks checks);
// The same of the text that stands in the file.
nlohmann::json documentOf(State const& state, std::string_view text,
                          std::string const& file, Checks checks);

} // namespace Agent
