#include "pelk/CellBlocks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace {

constexpr size_t kSize = 40;

struct Release {
   void operator()(unsigned char* cell) const noexcept {
      Pelk::CellBlocks::release(cell);
   }
};
using Cell = std::unique_ptr<unsigned char, Release>;

// A cell full of a number, which another one that overlaps it would change.
Cell cellOf(Pelk::CellBlocks& cells, unsigned char number) {
   Cell cell(static_cast<unsigned char*>(cells.allocate(kSize)));
   std::memset(cell.get(), number, kSize);
   return cell;
}

bool isOf(Cell const& cell, unsigned char number) {
   for (size_t at = 0; at < kSize; ++at) {
      if (cell.get()[at] != number) {
         return false;
      }
   }
   return true;
}

TEST(CellBlocks, CellsAreApartAndAligned) {
   Pelk::CellBlocks cells(4);
   std::vector<Cell> all;
   for (unsigned number = 0; number < 250; ++number) {
      all.push_back(cellOf(cells, static_cast<unsigned char>(number)));
      EXPECT_EQ(reinterpret_cast<uintptr_t>(all.back().get()) % alignof(void*), 0u);
   }
   for (unsigned number = 0; number < 250; ++number) {
      EXPECT_TRUE(isOf(all[number], static_cast<unsigned char>(number))) << number;
   }
}

TEST(CellBlocks, ACellLastsAsLongAsItIsNotReleasedWhateverElseGoes) {
   auto cells = std::make_unique<Pelk::CellBlocks>(2);
   std::vector<Cell> all;
   for (unsigned number = 0; number < 200; ++number) {
      all.push_back(cellOf(*cells, static_cast<unsigned char>(number)));
      if (number % 3 != 0) {
         all[number / 2].reset();
      }
   }
   cells.reset();
   for (unsigned number = 0; number < 200; ++number) {
      if (all[number]) {
         EXPECT_TRUE(isOf(all[number], static_cast<unsigned char>(number))) << number;
      }
   }
}

TEST(CellBlocks, CellsAreReleasedOnAnyThread) {
   Pelk::CellBlocks cells(4);
   std::vector<Cell> all;
   for (int round = 0; round < 20; ++round) {
      for (int count = 0; count < 100; ++count) {
         all.push_back(cellOf(cells, 1));
      }
      std::vector<Cell> others(std::make_move_iterator(all.begin() + 50),
                               std::make_move_iterator(all.end()));
      std::thread thread([&] { others.clear(); });
      all.clear();
      thread.join();
   }
}

} // namespace
