#include "Mutant.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

unsigned mutationActive = 0;

namespace {

unsigned char* reached = nullptr;
unsigned reachedSize = 0;

// MUTANT=N makes mutant N the active one. MUTANTS_REACHED=FILE has a byte set in the
// file for each that is reached; the file is as long as there are mutants, and is
// mapped, so that it does not matter how the process ends.
[[gnu::constructor]] void readEnvironment() {
   if (char const* const number = std::getenv("MUTANT")) {
      mutationActive = static_cast<unsigned>(std::strtoul(number, nullptr, 10));
   }
   char const* const path = std::getenv("MUTANTS_REACHED");
   if (path == nullptr) {
      return;
   }
   int const file = open(path, O_RDWR | O_CLOEXEC);
   struct stat status{};
   if (file < 0 || fstat(file, &status) != 0) {
      _exit(111);
   }
   auto const size = static_cast<unsigned>(status.st_size);
   void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
   close(file);
   if (memory == MAP_FAILED) {
      _exit(111);
   }
   reached = static_cast<unsigned char*>(memory);
   reachedSize = size;
   mutationActive = Mutation::kNotesAll;
}

} // namespace

void mutationReached(unsigned number) noexcept {
   if (number < reachedSize) {
      reached[number] = 1;
   }
}
