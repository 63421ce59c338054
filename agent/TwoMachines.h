#pragma once

#include "agent/Comparison.h"
#include "agent/Host.h"
#include "agent/Options.h"
#include "agent/OutputRecorder.h"
#include "agent/TouchedVlans.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Agent {

// The reactor and the dataflow machine side by side: followed from before the first
// start on, compared whenever both are idle. Knows what differs now, and all that
// differed on the way.
class TwoMachines {
 public:
   // The hosts of both, with their states made of the same document.
   TwoMachines(Host& reactor, Host& dataflow, Options const& options);
   TwoMachines(TwoMachines const&) = delete;
   TwoMachines& operator=(TwoMachines const&) = delete;

   // To be called after each line. Compares, if both machines run and are idle. Tells
   // on standard error of a difference without a reason when it comes; where: what is
   // blamed, as in "events.jsonl:12: ".
   void compare(std::string const& where);

   // Whether the last comparison is of what stands in the outputs now.
   bool isCompared() const noexcept { return isCompared_; }
   // The outputs that differ, by key; none if they were not compared.
   std::map<std::string, OutputDifference> const& differences() const noexcept {
      return differences_;
   }

   // How often each reason came up: outputs came to differ for it, or ways to the same
   // outputs did.
   struct Count {
      Verify::ExpectedDifference const* reason;
      size_t times;
   };
   std::vector<Count> reasons() const;

   // The exit status: whether every difference had a reason.
   int status() const noexcept;

 private:
   OutputsRecorder recorderOf(Host& host, Operations Span::* operations);
   bool hasAnythingChanged() const;
   void compareNow(std::string const& where);
   void beginSpan();
   void complain(std::string const& where, std::string const& what);

   Host& reactor_;
   Host& dataflow_;
   Options const& options_;
   Span span_;                      // since the last comparison
   std::set<std::string> differed_; // keys of outputs, when it began
   size_t foreignWrites_ = 0;
   bool wasBusy_ = false; // with a start, at what would have been a comparison
   size_t starts_ = 0;    // at the last comparison
   TouchedVlans touched_;
   OutputsRecorder reactorsRecorder_;
   OutputsRecorder dataflowsRecorder_;
   bool isCompared_ = false;
   std::map<std::string, OutputDifference> differences_;
   std::map<Verify::ExpectedDifference const*, size_t> times_;
   size_t errors_ = 0;
};

} // namespace Agent
