#include "pelk/Printable.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Pelk::printable;

TEST(Printable, LeavesWhatATerminalShowsAlone) {
   EXPECT_EQ(printable(""), "");
   EXPECT_EQ(printable("red \"\\ ~"), "red \"\\ ~");
   EXPECT_EQ(printable("\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80 \xf4\x8f\xbf\xbf"),
             "\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80 \xf4\x8f\xbf\xbf");
}

TEST(Printable, EscapesWhatDrivesATerminal) {
   EXPECT_EQ(printable("a\nb\t\x1b[31m\x7f\0"sv),
             "a\\u000ab\\u0009\\u001b[31m\\u007f\\u0000");
   // The same command in one character, which many terminals know.
   EXPECT_EQ(printable("\xc2\x9b"
                       "31m"),
             "\\u009b31m");
   EXPECT_EQ(printable("\xc2\xa0"), "\xc2\xa0");
}

TEST(Printable, EscapesEachByteThatIsNotUtf8) {
   EXPECT_EQ(printable("a\xff\xfe"), "a\\xff\\xfe");
   EXPECT_EQ(printable("\x80z"), "\\x80z") << "not at a beginning";
   EXPECT_EQ(printable("\xc3"), "\\xc3") << "cut off";
   EXPECT_EQ(printable("\xe2\x82z"), "\\xe2\\x82z") << "broken off";
   EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf") << "too long";
   EXPECT_EQ(printable("\xe0\x9f\xbf"), "\\xe0\\x9f\\xbf") << "too long";
   EXPECT_EQ(printable("\xf0\x8f\xbf\xbf"), "\\xf0\\x8f\\xbf\\xbf") << "too long";
   EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "a surrogate";
   EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "no character";
   EXPECT_EQ(printable("\xf8\x88\x80\x80\x80"), "\\xf8\\x88\\x80\\x80\\x80");
}

} // namespace
