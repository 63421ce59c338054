#include "pelk/TraceLevels.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using Pelk::TraceLevels;

std::string refusalOf(std::string_view text) {
   try {
      auto const levels = TraceLevels::fromText(text);
      return "accepted as " + levels.text();
   } catch (std::invalid_argument const& error) {
      return error.what();
   }
}

TEST(TraceLevels, BitNOfTheWordIsLevelN) {
   EXPECT_EQ(TraceLevels::fromText("7").word(), 1u << 7);
   EXPECT_EQ(TraceLevels::fromText("0").word(), 1u);
   EXPECT_EQ(TraceLevels::fromText("15").word(), 1u << 15);
   EXPECT_TRUE(TraceLevels(0x10).has(4));
   EXPECT_FALSE(TraceLevels(0x10).has(5));
}

TEST(TraceLevels, ARangeHoldsBothEnds) {
   EXPECT_EQ(TraceLevels::fromText("6-9").word(), 0x3c0);
   EXPECT_EQ(TraceLevels::fromText("3-3"), TraceLevels::of(3));
}

TEST(TraceLevels, AListMayMixLevelsAndRanges) {
   EXPECT_EQ(TraceLevels::fromText("4,8").word(), 0x110);
   EXPECT_EQ(TraceLevels::fromText("4,6-9,15").word(), 0x83d0);
}

TEST(TraceLevels, AllIsEveryLevel) {
   EXPECT_EQ(TraceLevels::fromText("all").word(), 0xffff);
   EXPECT_EQ(TraceLevels::fromText("0-15"), TraceLevels::all());
}

TEST(TraceLevels, ALevelAboveFifteenIsNeverOn) {
   EXPECT_FALSE(TraceLevels::all().has(16));
   EXPECT_FALSE(TraceLevels::all().has(32));
   EXPECT_EQ(TraceLevels::of(16).word(), 0);
}

TEST(TraceLevels, EveryWordReadsBackFromItsText) {
   for (uint32_t word = 1; word <= 0xffff; ++word) {
      TraceLevels const levels(static_cast<uint16_t>(word));
      ASSERT_EQ(TraceLevels::fromText(levels.text()), levels) << levels.text();
   }
   EXPECT_EQ(TraceLevels().text(), "");
}

TEST(TraceLevels, ARefusalSaysWhatStandsWhereAndWhatIsAllowed) {
   EXPECT_EQ(refusalOf("4,16"),
             "trace levels \"4,16\": \"16\" stands at character 3; allowed are levels "
             "from 0 to 15, ranges of them such as 6-9, lists such as 4,8, or all");
   EXPECT_THAT(refusalOf("9-6"), testing::HasSubstr("\"9-6\" stands at character 1, "
                                                    "a range that runs downwards"));
   EXPECT_THAT(refusalOf("4,,8"), testing::HasSubstr("nothing stands at character 3"));
}

TEST(TraceLevels, EverythingElseIsRefused) {
   for (auto const* text : {"", ",", "4,", "a", "-1", "+1", "1-", "-", "1-2-3", " 4",
                            "4 ", "0x4", "99999999999", "All", "all,4", "4;8"}) {
      EXPECT_THAT(refusalOf(text), testing::HasSubstr("; allowed are")) << text;
   }
}

TEST(TraceLevels, ARefusalDoesNotEndAtAZeroOfTheText) {
   EXPECT_THAT(refusalOf(std::string_view("1\0x", 3)),
               testing::HasSubstr("\"1\\u0000x\" stands at character 1; allowed are"));
}

} // namespace
