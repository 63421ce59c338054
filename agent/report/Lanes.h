#pragma once

#include "agent/record/Rerun.h"
#include "agent/report/Texts.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

// The lanes of a page's timeline: one for start-up, inputs, each task, stream and
// output. What is in a lane is a list of
//   [place, text]         something that happened
//   [step, text, count]   so many of the same lane in one step, which are not told
//   apart [step, text, 0]       a slice, which takes the whole step
class Lanes {
 public:
   Lanes(bool isDataflow, Texts& texts);

   // place: that of the step.
   void add(PlayedStep const& step, size_t place);

   nlohmann::ordered_json toJson() const;
   // Whether each moment is told apart.
   bool isWhole() const noexcept { return isWhole_; }

 private:
   struct Lane {
      std::string name;
      char const* kind;
      nlohmann::ordered_json items = nlohmann::ordered_json::array();
   };

   size_t laneOf(Moment const& moment) const;
   std::string textOf(Moment const& moment) const;
   size_t taskLane(std::string const& task);
   void addMoments(PlayedStep const& step, size_t place);

   bool isDataflow_;
   Texts& texts_;
   std::vector<Lane> lanes_;
   std::map<std::string, Lane> tasks_;
   std::vector<size_t> streams_; // the lane of each node
   size_t firstOutput_ = 0;
   size_t items_ = 0;
   bool isWhole_ = true;
};

} // namespace Agent
