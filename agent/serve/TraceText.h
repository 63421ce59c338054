#pragma once

#include "fennlog/TraceHandle.h"
#include "pelk/Ptr.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace Agent {

// A record of the ring as those who ask see it: for programs, and for people.
nlohmann::ordered_json recordToJson(Fennlog::Record const& record);
std::string recordText(Fennlog::Record const& record);

// Reads a ring from now on, and says where records were overwritten before they were
// read.
class RingFollower {
 public:
   // isText: for people.
   RingFollower(Pelk::Ptr<Fennlog::TraceHandle const> const& ring, bool isText);

   // The next line; none for the time being.
   std::optional<std::string> next();

 private:
   Fennlog::TraceReader reader_;
   bool isText_;
   uint64_t missed_ = 0;
   std::optional<Fennlog::Record> held_; // until the gap before it was told
};

} // namespace Agent
