#include "soak/Gauges.h"

#include <algorithm>

namespace Soak {

void Gauges::read(std::string const& name, uint64_t value, double growth) {
   auto const [gauge, isNew] = gauges_.try_emplace(name);
   if (isNew) {
      names_.push_back(name);
      gauge->second.growth = growth;
   }
   now_[name] += value;
}

std::vector<std::string> Gauges::taken(bool isSettling) {
   std::vector<std::string> grown;
   readings_ += isSettling ? 0 : 1;
   for (auto& [name, value] : now_) {
      auto& gauge = gauges_.at(name);
      gauge.last = value;
      if (isSettling) {
         gauge.settling = std::max(gauge.settling, value);
      } else if (value > gauge.most) {
         auto const allowed = static_cast<double>(gauge.settling) * (1 + gauge.growth);
         if (static_cast<double>(value) > allowed &&
             static_cast<double>(gauge.most) <= allowed) {
            grown.push_back(name + " grew from " + std::to_string(gauge.settling) +
                            " to " + std::to_string(value));
         }
         gauge.most = value;
      }
      value = 0;
   }
   return grown;
}

} // namespace Soak
