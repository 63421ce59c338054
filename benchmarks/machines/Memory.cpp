#include "ContractFloor.h"
#include "Floor.h"
#include "Machine.h"
#include "Registration.h"

#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <new>

// What the programs and their outputs take: counted in operator new, as usable bytes
// with the word that the allocator keeps beside them.

namespace {

struct Heap {
   size_t bytes = 0;
   size_t blocks = 0;
};

Heap heap;

constexpr size_t kHeader = sizeof(size_t);

void* counted(void* memory) {
   if (memory == nullptr) {
      throw std::bad_alloc();
   }
   heap.bytes += malloc_usable_size(memory) + kHeader;
   ++heap.blocks;
   return memory;
}

void release(void* memory) noexcept {
   if (memory != nullptr) {
      heap.bytes -= malloc_usable_size(memory) + kHeader;
      --heap.blocks;
      std::free(memory);
   }
}

} // namespace

// Not inlined: the compiler would see free() on what an operator new returned.
[[gnu::noinline]] void* operator new(size_t size) {
   return counted(std::malloc(size));
}
[[gnu::noinline]] void* operator new(size_t size, std::align_val_t alignment) {
   auto const align = static_cast<size_t>(alignment);
   return counted(std::aligned_alloc(align, (size + align - 1) & ~(align - 1)));
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
   release(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
   release(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept {
   release(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t,
                                       std::align_val_t) noexcept {
   release(memory);
}

namespace Bench::Machines {

namespace {

template <typename Program>
double bytesPerVrf(char const* name, Case const& inputs) {
   Program program(inputs);
   auto const before = heap;
   program.start();
   auto const vrfs = static_cast<double>(inputs.vrfs);
   double const bytes = static_cast<double>(heap.bytes - before.bytes) / vrfs;
   std::printf("%-40s %8d %8d %8.0f %8.2f\n", name, inputs.vrfs, inputs.pegVlans, bytes,
               static_cast<double>(heap.blocks - before.blocks) / vrfs);
   program.stop();
   return bytes;
}

template <Rule rule, typename Machine>
void beside(char const* name, Case const& inputs) {
   bytesPerVrf<Floor<rule>>((std::string(name) + ".floor").c_str(), inputs);
   double const floor = bytesPerVrf<ContractFloor<rule>>(
      (std::string(name) + ".contract").c_str(), inputs);
   double const machine = bytesPerVrf<Machine>(name, inputs);
   std::printf("%-40s %26.2f x  <= 1.2 x  %s\n", "   beside contract", machine / floor,
               machine / floor <= 1.2 ? "reached" : "MISSED");
}

} // namespace

void reportMemory() {
   std::printf("\n%-40s %8s %8s %8s %8s\n", "memory of program and outputs", "VRFs",
               "PEG", "B/VRF", "blocks");
   for (auto const& inputs : {Case::onePerVlan(4094), Case::shared(100000, 4094)}) {
      beside<Rule::reactor, ReactorMachine>("reactor", inputs);
      beside<Rule::dataflow, DataflowMachine>("dataflow", inputs);
   }
}

} // namespace Bench::Machines
