#include "quell/QuellMap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

namespace {

struct Records {
   static constexpr char const* name = "records";
   static constexpr uint32_t seed = 0x5e1f0a77;
};

struct Record {
   uint32_t number = 0;
   std::string text;

   uint32_t key() const noexcept { return number; }
};

using Map = Quell::QuellMap<Records, uint32_t, Record>;

TEST(QuellMap, ARecordStandsUnderItsOwnKey) {
   Map map;
   map.recordIs({7, "seven"});
   map.recordIs({8, "eight"});
   ASSERT_EQ(map.size(), 2u);
   EXPECT_EQ(map.find(7)->value().text, "seven");
   EXPECT_EQ(map.find(8)->value().text, "eight");
}

TEST(QuellMap, ARecordOfThatKeyIsOverwritten) {
   Map map;
   map.recordIs({7, "seven"});
   auto const version = map.version();
   map.recordIs({7, "again"});
   EXPECT_EQ(map.size(), 1u);
   EXPECT_EQ(map.find(7)->value().text, "again");
   EXPECT_NE(map.version(), version);
}

} // namespace
