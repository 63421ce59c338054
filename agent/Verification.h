#pragma once

#include "agent/Options.h"
#include "agent/OutputRecorder.h"
#include "agent/State.h"
#include "agent/verify/Verifier.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// What --verify does: compares the outputs with the plain rule, and tells of each
// difference on standard error when it comes or changes.
class Verification {
 public:
   Verification(Options const& options, State const& state);

   // Before a machine is constructed; after it was destroyed.
   void starting();
   void stopped();

   // What writes the outputs from now on: another writer, or the machine.
   void byAnotherWriterIs(bool is) noexcept { isByAnother_ = is; }

   // Compares; where: what is blamed, as in "events.jsonl:12: ". stall: what keeps the
   // machine from being ready though it has nothing left to do; empty for nothing.
   void compare(std::string const& where, std::string const& stall);

   Verify::Verifier& verifier() noexcept { return verifier_; }

   // How many errors were found: differences without an excuse, and stalls.
   size_t errors() const noexcept { return errors_; }
   // Tells on standard error how much was compared, and what came of it.
   void summarize() const;

 private:
   void say(std::string const& text) const;
   void report(std::string const& where, Verify::Difference const& difference);

   State const& state_;
   Verify::Verifier verifier_;
   std::string_view const machine_; // named where there are two
   std::optional<OutputsRecorder> recorder_;
   std::vector<Verify::Difference> known_;
   bool isByAnother_ = false;
   size_t comparisons_ = 0;
   size_t errors_ = 0;
   size_t excused_ = 0;
};

} // namespace Agent
