#include "agent/serve/Feed.h"

#include "agent/JsonText.h"
#include "agent/Patch.h"

#include <string>
#include <utility>

namespace Agent {

using nlohmann::json;

namespace {

// What is written are inputs, and tests there are none.
class Nobody final : public Patch::Observer {
 public:
   void failed(FailedTest const&) override {}
   void writing(bool) override {}
   void written() override {}
};

json inputsOf(json const& document, State const& state) {
   json inputs = json::object();
   for (auto const& member : state.members()) {
      if (!member.isOutput) {
         std::string const name(member.name);
         inputs[name] = document.at(name);
      }
   }
   return inputs;
}

} // namespace

Feed::Feed(std::vector<Host*> hosts, json document, Checks checks)
   : hosts_(std::move(hosts)), document_(std::move(document)), checks_(checks) {}

size_t Feed::documentIs(json document) {
   auto const& state = hosts_.front()->state();
   // Canonical documents hold no arrays: each operation is one of one place.
   auto operations = json::diff(inputsOf(document_, state), inputsOf(document, state));
   for (auto& operation : operations) {
      operations_.push_back(std::move(operation));
   }
   document_ = std::move(document);
   return operations.size();
}

bool Feed::publish(size_t most) {
   Nobody nobody;
   for (; most > 0 && !operations_.empty(); --most) {
      auto const operation = std::move(operations_.front());
      operations_.pop_front();
      auto const line = jsonText(operation);
      for (auto* const host : hosts_) {
         Patch const patch(host->state(), operation, checks_);
         host->stepBegins(line);
         patch.apply(nobody);
         host->stepEnds();
      }
   }
   return !operations_.empty();
}

} // namespace Agent
