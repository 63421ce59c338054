#include "pelk/Printable.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

TEST(Printable, TheFirstCharacterOfEachLengthStays) {
   for (std::string_view const text :
        {"\xc2\xa0", "\xe0\xa0\x80", "\xf0\x90\x80\x80"}) {
      EXPECT_EQ(Pelk::printable(text), text);
   }
}

TEST(Printable, ACharacterThatIsLongerThanItNeedsToBeIsEscaped) {
   EXPECT_EQ(Pelk::printable("\xe0\x9f\xbf"), "\\xe0\\x9f\\xbf");
   EXPECT_EQ(Pelk::printable("\xf0\x8f\xbf\xbf"), "\\xf0\\x8f\\xbf\\xbf");
}

} // namespace
