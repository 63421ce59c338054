#pragma once

// The one definition of shrunk(); included by explore/Schedule.h.
namespace Explore {

namespace Impl {

// Every member of an object somewhere in the document, the largest first.
inline void collectMembers(nlohmann::json const& value,
                           nlohmann::json::json_pointer const& place,
                           std::vector<nlohmann::json::json_pointer>& members) {
   if (!value.is_object()) {
      return;
   }
   for (auto const& [key, member] : value.items()) {
      members.push_back(place / key);
      collectMembers(member, place / key, members);
   }
}

} // namespace Impl

template <typename Fails>
Schedule shrunk(Schedule schedule, Fails fails) {
   for (bool isSmaller = true; isSmaller;) {
      isSmaller = false;
      // Lines: runs of them first, then one by one.
      for (size_t run = schedule.lines.size(); run != 0; run /= 2) {
         for (size_t at = 0; at + run <= schedule.lines.size();) {
            auto tried = schedule;
            auto const first = tried.lines.begin() + static_cast<std::ptrdiff_t>(at);
            tried.lines.erase(first, first + static_cast<std::ptrdiff_t>(run));
            if (fails(tried)) {
               schedule = std::move(tried);
               isSmaller = true;
            } else {
               ++at;
            }
         }
      }
      std::vector<nlohmann::json::json_pointer> members;
      Impl::collectMembers(schedule.document, nlohmann::json::json_pointer(), members);
      for (auto const& member : members) {
         if (!schedule.document.contains(member)) {
            continue; // gone with what it stood in
         }
         auto tried = schedule;
         tried.document.at(member.parent_pointer()).erase(member.back());
         if (fails(tried)) {
            schedule = std::move(tried);
            isSmaller = true;
         }
      }
   }
   return schedule;
}

} // namespace Explore
