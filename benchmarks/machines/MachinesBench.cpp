#include "Registration.h"

// What the machines cost, beside programs that compute the same outputs; see
// Machines.md. The tables of memory and slices come after the benchmarks.
int main(int argc, char** argv) {
   using namespace Bench::Machines;
   Comparisons comparisons;
   registerReactorEvents(comparisons);
   registerDataflowEvents(comparisons);
   registerStarts(comparisons);
   int const status = Bench::compare(argc, argv, comparisons);
   if (status == 0) {
      reportMemory();
      reportSlices();
   }
   return status;
}
