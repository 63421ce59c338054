#include "explore/Schedule.h"

#include "support/RandomDocument.h"
#include "support/RandomEvents.h"

#include <utility>

namespace Explore {

using nlohmann::json;

std::string Schedule::documentText() const {
   return document.dump(2) + '\n';
}

std::string Schedule::linesText(std::set<size_t> const& leftOut) const {
   std::string text;
   for (size_t i = 0; i < lines.size(); ++i) {
      text += (leftOut.contains(i + 1) ? "# " : "") + lines[i].dump() + '\n';
   }
   return text;
}

std::string Schedule::command(std::string const& state,
                              std::string const& events) const {
   return "mcastvpn-agent replay --manual --verify --seed " + std::to_string(hashSeed) +
          " --slice-items " + std::to_string(sliceItems) + " --state " + state + " " +
          events;
}

namespace {

class Generator {
 public:
   Generator(TestSupport::Random random, uint32_t hashSeed)
      : random_(std::move(random)), hashSeed_(hashSeed) {}

   Schedule make() {
      Schedule schedule;
      schedule.hashSeed = hashSeed_;
      schedule.document = TestSupport::RandomDocument(random_).make();
      TestSupport::RandomEvents events(random_, schedule.document);
      events.foreignWritesAre(below(3) == 0);
      // How fine the slices are cut is a matter of the whole schedule, too.
      uint32_t const mostItems = 1 + below(6);
      schedule.sliceItems = 1 + below(mostItems);
      for (uint32_t left = 4 + below(24); left != 0; --left) {
         for (uint32_t slices = below(4); slices != 0; --slices) {
            schedule.lines.push_back(slice(1 + below(6), 1 + below(mostItems)));
         }
         auto const event = events.next();
         if (below(6) == 0 && event.contains("op")) {
            schedule.lines.push_back(
               {{"host", "inside"}, {"count", 1 + below(6)}, {"event", event}});
         } else if (below(24) == 0) {
            schedule.lines.push_back({{"host", "stop"}});
            schedule.lines.push_back(event.contains("op") ? event : json());
            schedule.lines.push_back({{"host", "start"}});
         } else {
            schedule.lines.push_back(event);
         }
         if (below(5) == 0) {
            schedule.lines.push_back({{"host", "drain"}});
         }
      }
      std::erase(schedule.lines, json());
      return schedule;
   }

 private:
   static json slice(uint32_t count, uint32_t items) {
      return {{"host", "slice"}, {"count", count}, {"items", items}};
   }
   uint32_t below(uint32_t n) { return random_() % n; }

   TestSupport::Random random_;
   uint32_t hashSeed_;
};

} // namespace

Schedule randomSchedule(TestSupport::Random const& random, uint32_t hashSeed) {
   return Generator(random, hashSeed).make();
}

Schedule randomSchedule(uint32_t seed, uint32_t hashSeed) {
   return randomSchedule(TestSupport::seededRandom(seed), hashSeed);
}

} // namespace Explore
