#pragma once

#include "agent/Options.h"
#include "agent/State.h"
#include "agent/report/Texts.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Agent {

// For each VLAN of a page, when it had its outputs, and when each condition of its
// machine's rule held. A strip is a list of three numbers each: a place, whether it
// holds from there to the next one (0 or 1), and a text.
class Strips {
 public:
   Strips(State const& state, Options const& options, std::set<uint16_t> const& vlans,
          Texts& texts);

   // Looks at the inputs, and at the outputs, as they are from this place on.
   void lookAtInputs(size_t place);
   void lookAtOutputs(size_t place);

   // The types of the conditions, and the VLANs.
   nlohmann::ordered_json conditionsToJson() const { return types_; }
   nlohmann::ordered_json toJson() const;

 private:
   struct Strip {
      std::vector<size_t> items;

      void is(size_t place, bool holdsNow, size_t textNow);
   };
   struct Vlan {
      std::string vrfs; // the last ones
      Strip intf;
      Strip join;
      std::vector<Strip> conditions;
   };

   State const& state_;
   Options const& options_;
   std::set<uint16_t> const& shown_;
   Texts& texts_;
   std::vector<std::string> types_;
   std::map<uint16_t, Vlan> vlans_;
};

} // namespace Agent
