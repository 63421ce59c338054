#include "explore/Player.h"
#include "explore/Schedule.h"
#include "fuzz/Target.h"
#include "zin/Hash.h"

#include <cstdio>
#include <string>

// A life of the dataflow machine. The first byte is the hash seed, the second chooses
// the address family; the others choose what it starts over, what changes between its
// slices and inside its notifications, who else writes, and when it ends and begins
// anew. After each line the player looks at what must hold.
extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   Fuzz::Bytes bytes(data, size);
   auto const hashSeed = uint32_t{bytes.byte()};
   auto const af =
      bytes.below(8) == 0 ? Lidra::AddressFamily::ipv6 : Lidra::AddressFamily::ipv4;
   Zin::HashHelper::hashSeed32Is(hashSeed);
   auto const schedule = Explore::randomSchedule(bytes.random(), hashSeed);
   Explore::Figures figures;
   Explore::Player player(schedule, figures, nullptr, af);
   for (auto const& problem : player.play()) {
      std::fprintf(stderr,
                   "%s\n%s\nas a state document and an event file, with a seed of %u "
                   "and slices of %u items:\n%s%s",
                   problem.c_str(), schedule.command("STATE", "EVENTS").c_str(),
                   hashSeed, schedule.sliceItems, schedule.documentText().c_str(),
                   schedule.linesText(player.leftOut()).c_str());
      Fuzz::require(false, problem);
   }
   return 0;
}
