#include "agent/record/FirstDifference.h"

#include "agent/BadInput.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Agent {

using nlohmann::json;

FirstDifference::FirstDifference(std::string file) : file_(std::move(file)) {}

std::string FirstDifference::compare(RecordedStep const& step,
                                     std::vector<PlayedWrite> const& writes) {
   // What the process wrote last may not have come to be recorded.
   size_t const count =
      step.isWhole ? std::max(step.writes.size(), writes.size()) : step.writes.size();
   for (size_t i = 0; !isFound_ && i < count; ++i) {
      auto const have = i < writes.size() ? writes[i].operation : json();
      auto const want = i < step.writes.size() ? step.writes[i].operation : json();
      bool const isSameCause =
         have.is_null() || want.is_null() || writes[i].cause == step.writes[i].cause;
      if (have != want || !isSameCause) {
         isFound_ = true;
         return fmt::format(
            "mcastvpn-agent: {}write {} of this step is {}; recorded is {}\n",
            location(file_, step.line), i + 1,
            have.is_null()
               ? "none"
               : fmt::format("{}, put down to change {}", have.dump(), writes[i].cause),
            want.is_null() ? "none" : want.dump());
      }
   }
   return {};
}

} // namespace Agent
