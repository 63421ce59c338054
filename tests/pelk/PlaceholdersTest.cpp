#include "pelk/Placeholders.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::string replaced(std::string_view format,
                     std::vector<std::string> const& arguments = {}) {
   return Pelk::replacePlaceholders(format, arguments);
}

TEST(Placeholders, AreReplacedInOrder) {
   EXPECT_EQ(replaced("%s: vlan %s of %s", {"TransitSm", "10", "red"}),
             "TransitSm: vlan 10 of red");
   EXPECT_EQ(replaced("%s%s", {"a", "b"}), "ab");
}

TEST(Placeholders, ForTextAndForHexAreTheSame) {
   EXPECT_EQ(replaced("%x and %s", {"1f", "text"}), "1f and text");
}

TEST(Placeholders, InsideAnArgumentStay) {
   EXPECT_EQ(replaced("%s=%s", {"%s", "5"}), "%s=5");
   EXPECT_EQ(replaced("%s%s", {"100%", "s"}), "100%s");
   EXPECT_EQ(replaced("%s", {"%x%s"}), "%x%s");
}

TEST(Placeholders, WithoutAnArgumentStay) {
   EXPECT_EQ(replaced("%s and %s", {"one"}), "one and %s");
   EXPECT_EQ(replaced("%s"), "%s");
}

TEST(Placeholders, LeftOverArgumentsAreDropped) {
   EXPECT_EQ(replaced("only %s", {"one", "two"}), "only one");
   EXPECT_EQ(replaced("none", {"one"}), "none");
   EXPECT_EQ(replaced("", {"one"}), "");
}

TEST(Placeholders, OtherPercentSignsStay) {
   EXPECT_EQ(replaced("%d %s 5%", {"x"}), "%d x 5%");
   EXPECT_EQ(replaced("100%", {"x"}), "100%");
   EXPECT_EQ(replaced("%", {"x"}), "%");
   EXPECT_EQ(replaced("%%s", {"x"}), "%x");
}

TEST(Placeholders, TakeEmptyArguments) {
   EXPECT_EQ(replaced("[%s]", {""}), "[]");
}

} // namespace
