#pragma once

#include "pelk/Export.h"

#include <cstddef>
#include <cstdint>

namespace Pelk {

// Memory for objects of one class that come one by one and stay long: one heap block
// for many of them. Each goes on its own, also after the owner of this and on any
// thread; a heap block goes when all objects in it have gone and no more will come. So
// whoever holds one object holds the memory of its block.
//
// A class uses it with an operator new that asks allocate(), and an operator delete
// that hands the memory to release(). Making objects is for the event thread.
class PELK_EXPORT CellBlocks {
 public:
   // The heap blocks grow with the number of objects, up to this many in one.
   static constexpr uint32_t kMostCells = 64;

   // The first heap block has so many cells: one for an object by itself.
   explicit CellBlocks(uint32_t firstCells) noexcept : firstCells_(firstCells) {}
   ~CellBlocks() { drop(block_); }
   CellBlocks(CellBlocks const&) = delete;
   CellBlocks& operator=(CellBlocks const&) = delete;

   // Memory for one object, aligned as a pointer. All calls are for the same size.
   // Raises std::bad_alloc.
   void* allocate(size_t size);
   // Takes back the memory of an object that is gone.
   static void release(void* memory) noexcept;

 private:
   struct Block;
   struct Cell;

   static void drop(Block* block) noexcept;

   uint32_t const firstCells_;
   uint32_t cells_ = 0;     // of the block
   uint32_t used_ = 0;      // of these
   Block* block_ = nullptr; // where the next object goes
};

} // namespace Pelk
