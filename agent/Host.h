#pragma once

#include "agent/Options.h"
#include "agent/State.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Ptr.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>

namespace Agent {

// The process in which a machine runs: sets what is one for the process (seed, toggles,
// trace), and makes and destroys the machine over a state. One in a process.
class Host {
 public:
   // Sets seed, toggles and trace levels. InputError if the toggle file is bad.
   explicit Host(Options const& options);
   ~Host();

   State& state() noexcept { return state_; }

   // Publishes the document of the options, if they name one. InputError if it is bad;
   // nothing of it is published then.
   void loadState();

   bool isRunning() const noexcept { return machine_ != nullptr; }
   // Constructs the machine. Requires that none runs.
   void start();
   // Destroys the machine; inputs and outputs stay.
   void stop();

   // Runs tasks until none is pending. Returns the number of slices.
   uint64_t drain();
   // Runs at most count slices. Returns how many there were to run.
   uint64_t slice(uint64_t count);

 private:
   class RunningMachine;

   Options const options_;
   Pelk::Ptr<Kolm::TaskScheduler> scheduler_;
   State state_;
   std::unique_ptr<RunningMachine> machine_;
};

// The document at the file, made canonical. InputError, with file, line and pointer.
nlohmann::json loadDocument(State const& state, std::string const& file, Checks checks);

} // namespace Agent
