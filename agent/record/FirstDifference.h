#pragma once

#include "agent/record/Playback.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Agent {

// What a machine wrote while a recording was played, and the number of the change of an
// input that it is put down to.
struct PlayedWrite {
   nlohmann::json operation;
   uint64_t cause;
};

// Compares what is written while a recording is played with what was recorded. The
// first difference is the one that matters: what follows may come of it.
class FirstDifference {
 public:
   explicit FirstDifference(std::string file);

   // To be called after each step. The line for standard error if this is the first
   // step that came out otherwise; nothing else.
   std::string compare(RecordedStep const& step,
                       std::vector<PlayedWrite> const& writes);
   bool isFound() const noexcept { return isFound_; }

 private:
   std::string file_;
   bool isFound_ = false;
};

} // namespace Agent
