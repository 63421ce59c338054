#include "agent/verify/PathDependence.h"

namespace Verify {

std::string standsAt(Outputs const& outputs, std::string const& key) {
   auto const found = outputs.find(key);
   return found == outputs.end() ? std::string(kNothing) : found->second;
}

std::vector<std::string> complaints(Outputs const& expected, Outputs const& actual,
                                    Excuses const& excuses) {
   Outputs keys = expected;
   keys.insert(actual.begin(), actual.end());
   for (auto const& [key, why] : excuses) {
      keys.emplace(key, "");
   }
   std::vector<std::string> found;
   for (auto const& [key, text] : keys) {
      auto const should = standsAt(expected, key);
      auto const is = standsAt(actual, key);
      auto const excuse = excuses.find(key);
      auto complaint = key + ": ";
      if (should != is && excuse == excuses.end()) {
         found.push_back(complaint.append(is).append(" in place of ").append(should));
      } else if (should == is && excuse != excuses.end()) {
         found.push_back(
            complaint.append("needs no excuse of ").append(excuse->second.name));
      }
   }
   return found;
}

} // namespace Verify
