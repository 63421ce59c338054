#include "mlag/MlagState.h"

#include "zin/RangeException.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using Mlag::MlagState;
using Traits = Zin::ValueTraits<MlagState>;

std::string printed(MlagState state) {
   std::ostringstream out;
   out << state;
   return out.str();
}

constexpr std::pair<char const*, uint32_t> kStates[] = {
   {"disabled", 0}, {"inactive", 1}, {"connecting", 2}, {"active", 3}, {"withheld", 4}};

TEST(MlagState, EachNameHasItsFrozenNumber) {
   for (auto const& [name, number] : kStates) {
      auto const state = static_cast<MlagState>(number);
      EXPECT_EQ(Traits::fromText(name), state);
      EXPECT_EQ(Traits::fromText(std::to_string(number)), state);
      EXPECT_EQ(printed(state), name);
      EXPECT_EQ(Traits::toText(state), std::to_string(number));
   }
   EXPECT_EQ(static_cast<uint32_t>(MlagState::active), 3u);
   EXPECT_EQ(static_cast<uint32_t>(MlagState::withheld), 4u);
}

TEST(MlagState, KeepsNumbersThatAreNotListed) {
   static_assert(std::is_same_v<std::underlying_type_t<MlagState>, uint32_t>);
   for (uint32_t const number : {5u, 17u, 0xffffffffu}) {
      auto const state = Traits::fromText(std::to_string(number));
      EXPECT_EQ(static_cast<uint32_t>(state), number);
      EXPECT_EQ(printed(state), std::to_string(number));
      EXPECT_EQ(Traits::toText(state), std::to_string(number));
   }
}

TEST(MlagState, IsNotMadeOfOtherText) {
   for (auto const* text : {"", "Active", "active ", "03", "-1", "3.0", "up"}) {
      EXPECT_THROW(Traits::fromText(text), Zin::TextException) << text;
   }
   EXPECT_THROW(Traits::fromText("4294967296"), Zin::RangeException);
}

} // namespace
