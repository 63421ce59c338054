#include "Case.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace Bench::Machines {

std::string vrfName(int number) {
   return "tenant-" + std::to_string(number);
}

void Outputs::intf(uint16_t vlan, uint32_t addr) {
   intfs.emplace("Vlan" + std::to_string(vlan), addr);
}

void Outputs::join(uint16_t vlan) {
   joins.insert(std::to_string(vlan) + " 0.0.0.0 0.0.0.0 include Null0");
}

void requireEqual(Outputs const& outputs, Outputs const& expected,
                  std::string const& where) {
   if (outputs == expected) {
      return;
   }
   std::fprintf(stderr, "%s: other outputs than expected (%zu interfaces for %zu, ",
                where.c_str(), outputs.intfs.size(), expected.intfs.size());
   std::fprintf(stderr, "%zu joins for %zu)\n", outputs.joins.size(),
                expected.joins.size());
   for (auto const& [name, addr] : expected.intfs) {
      auto const at = outputs.intfs.find(name);
      if (at == outputs.intfs.end() || at->second != addr) {
         std::fprintf(stderr, "  first difference at %s\n", name.c_str());
         break;
      }
   }
   for (auto const& line : outputs.joins) {
      if (!expected.joins.contains(line)) {
         std::fprintf(stderr, "  not expected: %s\n", line.c_str());
         break;
      }
   }
   std::exit(1);
}

double seconds() {
   timespec time{};
   clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
   return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace Bench::Machines
