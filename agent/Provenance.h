#pragma once

#include "agent/OutputRecorder.h"
#include "agent/State.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Agent {

// A change of an input, as it was notified.
struct InputChange {
   uint64_t number = 0; // 1 for the first after the start; 0 is the start itself
   std::string op;      // "add", "replace" or "remove"; empty for the start
   std::string path;    // a JSON pointer into the state
   // No change at all: somebody else wrote to an output.
   bool isAnotherWriter = false;

   // {"number":3,"op":"add","path":"/pegVlanStatus/pegVlan/10"}, {"number":0} or
   // {"anotherWriter":true}.
   nlohmann::ordered_json toJson() const;
   // What wrote: "change 3: add /pegVlanStatus/pegVlan/10", "the start" or "another
   // writer".
   std::string text() const;
};

// Which change of an input last wrote each output, and everybody's wish to hear of
// either. Kept through the notifications of the entities: a machine knows nothing of
// it.
//
// To be made before a machine is, so that a change is known before what it causes. What
// a machine writes between two changes, in slices of its tasks, is put down to the last
// one. Event thread only.
class Provenance {
 public:
   using Input = std::function<void(InputChange const& change,
                                    nlohmann::ordered_json const& operation)>;
   using Output = std::function<void(nlohmann::ordered_json const& operation,
                                     InputChange const& cause)>;

   // Either may be empty.
   Provenance(State const& state, Input input, Output output);
   Provenance(Provenance const&) = delete;
   Provenance& operator=(Provenance const&) = delete;
   ~Provenance();

   // The last change; number 0 before the first.
   InputChange const& last() const noexcept { return last_; }
   // What last wrote the output with the key ("intf Vlan10", "join 10"), or anything of
   // it; null if that was before this was made.
   InputChange const* causeOf(std::string const& key) const;

   // What is written to outputs from here on is another writer's, or no more.
   void byAnotherWriterIs(bool is) noexcept { isByAnotherWriter_ = is; }

 private:
   void changed(nlohmann::ordered_json const& operation);
   void wrote(nlohmann::ordered_json const& operation);

   Input input_;
   Output output_;
   InputChange last_;
   bool isByAnotherWriter_ = false;
   std::map<std::string, InputChange> causes_; // by key of the output
   std::vector<std::unique_ptr<OutputRecorder>> recorders_;
};

} // namespace Agent
