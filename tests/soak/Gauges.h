#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Soak {

// Sizes that must not grow for as long as the process lives: each is read again and
// again at moments that are alike, first while everything finds its size, then for as
// long as the soak lasts.
class Gauges {
 public:
   struct Gauge {
      uint64_t settling = 0; // the most while it settled
      uint64_t most = 0;     // since
      uint64_t last = 0;
      double growth = 0; // that is allowed, as a share of what it settled to
   };

   // Adds the value to what the others of this name read at this moment.
   void read(std::string const& name, uint64_t value, double growth = 0);
   // All were read. Those that grew are told once each.
   std::vector<std::string> taken(bool isSettling);

   // By name, in the order in which they were first read.
   std::vector<std::string> const& names() const noexcept { return names_; }
   Gauge const& operator[](std::string const& name) const { return gauges_.at(name); }
   // How often all were read, since they had settled.
   uint64_t readings() const noexcept { return readings_; }

 private:
   std::vector<std::string> names_;
   std::map<std::string, Gauge> gauges_;
   std::map<std::string, uint64_t> now_;
   uint64_t readings_ = 0;
};

} // namespace Soak
