#include "agent/BadInput.h"
#include "agent/Host.h"
#include "agent/JsonText.h"
#include "agent/State.h"
#include "fuzz/ClearError.h"
#include "fuzz/Target.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

// The input is the text of a state document.
namespace {

using Agent::Checks;
using Agent::State;
using nlohmann::json;

constexpr std::string_view kFile = "state.json";

// A state that a document has to take the place of.
constexpr char const* kOther = R"({
   "mcastEvpnConfig": {"transitVrf": ["red", "green", ""]},
   "vtiStatusDir": {"vtiStatus": {
      "Vxlan1": {"localVtepAddr": "10.9.9.9", "vrfToSBDVlan": {"red": 10, "blue": 11}},
      "Vxlan2": {"mlagVtepAddr": "10.9.9.8"}}},
   "mlagStatus": {"mlagState": 3},
   "pegVlanStatus": {"pegVlan": [10, 11, 4094]},
   "transitIntfColl": {"intf": {"Vlan10": {"ipAddr": "10.9.9.9"}, "Et1": {}}},
   "membershipJoinStatus": {"vlan": {"10": {"routerIntf": ["Et1"], "group": {
      "0.0.0.0": {"source": {"0.0.0.0": {"includeIntf": ["Null0"]}, "::1": {}}},
      "ff0e::1": {}}}}}})";

// The message of a refused document has the line at which to look.
void requireLine(std::string const& message, std::string_view text) {
   auto const number = message.substr(kFile.size() + 1);
   auto const line = std::strtoull(number.c_str(), nullptr, 10);
   auto const lines = 1 + static_cast<size_t>(std::ranges::count(text, '\n'));
   Fuzz::require(line >= 1 && line <= lines,
                 [&] { return "the line is one of the document: " + message; });
}

std::optional<json> documentOf(State const& state, std::string_view text,
                               Checks checks) {
   try {
      return Agent::documentOf(state, text, std::string(kFile), checks);
   } catch (Agent::InputError const& error) {
      Fuzz::requireClear(error.what(), std::string(kFile) + ':');
      requireLine(error.what(), text);
      return std::nullopt;
   }
}

// What was accepted is what it says, printed and read again, and made of anything.
void requireCanonical(json const& document, Checks checks) {
   State state;
   Fuzz::require(state.canonical(document, checks) == document,
                 "the canonical form of a canonical document is itself");
   Fuzz::require(documentOf(state, document.dump(2), checks) == document,
                 "what is printed can be read back");
   state.assign(document);
   Fuzz::require(state.toJson() == document, "entities hold what the document says");
   State other;
   other.assign(other.canonical(json::parse(kOther), Checks::plausible));
   other.assign(document);
   Fuzz::require(other.toJson() == document,
                 "a document takes the place of what stood there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   auto const text = Fuzz::Bytes(data, size).rest();
   State const state;
   auto const plausible = documentOf(state, text, Checks::plausible);
   auto const unchecked = documentOf(state, text, Checks::unchecked);
   if (plausible) {
      Fuzz::require(plausible == unchecked, "what is plausible can be held");
      requireCanonical(*plausible, Checks::plausible);
   } else if (unchecked) {
      requireCanonical(*unchecked, Checks::unchecked);
   }
   return 0;
}
