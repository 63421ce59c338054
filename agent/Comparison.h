#pragma once

#include "agent/Host.h"
#include "agent/Options.h"
#include "agent/verify/ExpectedDifferences.h"

#include <nlohmann/json.hpp>

#include <cstdint>
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

// The outputs that differ, by key. Requires that both machines run and are idle.
std::vector<OutputDifference> outputDifferences(Host& reactor, Host& dataflow,
                                                Options const& options);

// What a machine did to its outputs, operation by operation.
using Operations = std::vector<nlohmann::ordered_json>;

// A way to the same outputs that is not the same in both.
struct ChangeDifference {
   Verify::ExpectedDifference const* reason; // null: one of the machines is wrong
   uint16_t vlanId;                          // 0: of several VLANs, or of none
   std::string text;                         // what each did, where there is no reason
};

// What lies between two comparisons.
struct Span {
   bool hasInterimStates = false; // of the inputs, which the machines acted on
   bool isStatusAnother = false;  // that of "Vxlan1": it came, went or was replaced
   std::set<std::string> emptyLevels = {}; // outputs that had such before it
};

// How the two ways differ, apart from what they did to the outputs of these keys, which
// differed before or after.
std::vector<ChangeDifference> changeDifferences(Operations const& reactor,
                                                Operations const& dataflow,
                                                std::set<std::string> const& differing,
                                                Span const& span);

} // namespace Agent
