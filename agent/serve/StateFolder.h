#pragma once

#include "agent/Descriptor.h"
#include "agent/Options.h"
#include "agent/State.h"
#include "agent/serve/EventLoop.h"
#include "agent/serve/Snapshots.h"

#include <nlohmann/json.hpp>

#include <string>

namespace Agent {

// A folder in which the outputs stand while no agent runs, so that the next one finds
// them: outputs.json, a state document. It is replaced as a whole, by another process,
// a moment after an output has changed. Event thread only.
class StateFolder {
 public:
   // Makes the folder if it is not there, and takes it. InputError if another agent has
   // it, or if it cannot be used.
   StateFolder(EventLoop& loop, std::string folder, State const& state);

   // Puts the outputs that were kept into the canonical document. InputError if
   // there are others in it, if those that were kept cannot be read, or if none can be
   // written.
   void addOutputs(nlohmann::json& document, Options const& options) const;
   // The same of a later document, with those of the one before: outputs are taken
   // once.
   void keepOutputs(nlohmann::json& document, nlohmann::json const& before) const;

   // An output has changed.
   void changed();
   // Keeps what there is now. InputError if that cannot be.
   void finish();

 private:
   std::string file() const { return folder_ + "/outputs.json"; }
   void keep();
   void write(char const* draft) const;

   std::string const folder_;
   State const& state_;
   Descriptor taken_;
   Snapshots snapshots_;
   EventLoop::Timer timer_;
   bool isKeeping_ = false;
   bool isChanged_ = false; // since that began
};

} // namespace Agent
