#include "pelk/CellBlocks.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace Pelk {

// The head of a heap block; the cells follow it.
struct CellBlocks::Block {
   // One for each object in it, and one while more may come.
   alignas(void*) std::atomic<uint32_t> users;
};

// What stands before each object.
struct CellBlocks::Cell {
   Block* block;
};

void CellBlocks::drop(Block* block) noexcept {
   if (block != nullptr && block->users.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      ::operator delete(block);
   }
}

void* CellBlocks::allocate(size_t size) {
   constexpr size_t kAlignment = alignof(void*);
   size_t const cellSize =
      sizeof(Cell) + (size + kAlignment - 1) / kAlignment * kAlignment;
   if (used_ == cells_) {
      uint32_t const cells = std::clamp(2 * cells_, firstCells_, kMostCells);
      void* const memory = ::operator new(sizeof(Block) + cells * cellSize);
      drop(block_);
      block_ = ::new (memory) Block{1};
      cells_ = cells;
      used_ = 0;
   }
   auto* const cells = reinterpret_cast<std::byte*>(block_ + 1);
   auto* const cell = ::new (cells + used_ * cellSize) Cell{block_};
   ++used_;
   block_->users.fetch_add(1, std::memory_order_relaxed);
   return cell + 1;
}

void CellBlocks::release(void* memory) noexcept {
   drop((static_cast<Cell*>(memory) - 1)->block);
}

} // namespace Pelk
