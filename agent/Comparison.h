#pragma once

#include "agent/Host.h"
#include "agent/Options.h"
#include "agent/TouchedVlans.h"
#include "agent/verify/ExpectedDifferences.h"

#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <string>
#include <vector>

// What tells the reactor and the dataflow machine apart, each over outputs of its own
// and the same inputs, and for which of the expected reasons.
namespace Agent {

using Reasons = std::vector<Verify::ExpectedDifference const*>;

// An output that is not the same in both; keys and texts as Verify::Outputs has them.
struct OutputDifference {
   std::string key;
   std::string reactor; // "nothing" if it is not there
   std::string dataflow;
   Reasons reasons; // none: one of the machines is wrong

   bool operator==(OutputDifference const&) const = default;
};

// What stands in the outputs of both, and where that differs.
struct OutputComparison {
   Verify::Verifier::Findings reactor;
   Verify::Verifier::Findings dataflow;
   std::map<std::string, OutputDifference> differences; // by key
};
// Requires that both machines run and are idle.
OutputComparison compareOutputs(Host& reactor, Host& dataflow, Options const& options);

// What happened to some outputs, operation by operation.
using Operations = std::vector<nlohmann::ordered_json>;

// What two machines did from one comparison to the next, and what was done to them.
struct Span {
   Operations reactor; // what the machine did to its outputs
   Operations dataflow;
   TouchedVlans const* touched = nullptr; // by changes of the inputs
   std::set<std::string> foreign;         // outputs that another writer changed
   std::set<std::string> emptyLevels;     // outputs that had some before
   bool hasStart = false;
   bool hasInterimStates = false; // of what the machines act on
};

// A way to the same outputs that is not the same in both.
struct ChangeDifference {
   Verify::ExpectedDifference const* reason; // null: one of the machines is wrong
   std::string text;                         // what each did
};

// How the two ways differ, apart from what they did to the outputs of these keys, which
// differed before or after.
std::vector<ChangeDifference> changeDifferences(Span const& span,
                                                std::set<std::string> const& differing);

} // namespace Agent
