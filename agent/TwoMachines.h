#pragma once

#include "agent/Comparison.h"
#include "agent/Host.h"
#include "agent/Options.h"
#include "agent/OutputRecorder.h"

#include <nlohmann/json.hpp>

#include <array>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Agent {

// The reactor and the dataflow machine side by side: followed from the construction on,
// compared whenever both are idle. Knows what differs now, and all that differed on the
// way.
class TwoMachines {
 public:
   // The hosts of both, with their states made of the same document.
   TwoMachines(Host& reactor, Host& dataflow, Options const& options);

   // Compares, if both machines run and are idle. Tells on standard error of a
   // difference without a reason when it comes; where: what is blamed, as in
   // "events.jsonl:12: ". writes: how many there were to inputs and outputs since the
   // last call, at least, apart from the machines' own.
   void compare(std::string const& where, size_t writes);

   // The outputs that differed at the last comparison.
   std::vector<OutputDifference> const& outputs() const noexcept { return outputs_; }

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
   void beginSpan();
   Span span() const;
   void complain(std::string const& where, std::string const& what);

   Host& reactor_;
   Host& dataflow_;
   Options const& options_;
   std::array<Operations, 2> operations_; // since the last comparison
   std::array<OutputsRecorder, 2> recorders_;
   std::vector<std::unique_ptr<OutputRecorder>> inputRecorders_;
   // Since the last comparison:
   size_t inputChanges_ = 0;
   size_t writes_ = 0;
   bool wasBusy_ = false; // with a start, at what would have been one
   // At the last comparison:
   Pelk::Ptr<Vxlan::VtiStatus> status_; // of "Vxlan1"
   std::set<std::string> emptyLevels_;
   std::vector<OutputDifference> outputs_;
   std::map<Verify::ExpectedDifference const*, size_t> times_;
   size_t errors_ = 0;
};

} // namespace Agent
