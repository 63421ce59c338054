#include "bridging/VlanId.h"

#include "support/ThrownMessage.h"
#include "zin/RangeException.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <sstream>
#include <string>

namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Traits = Zin::ValueTraits<VlanId>;
using OrNoneTraits = Zin::ValueTraits<VlanIdOrNone>;

constexpr auto kOutOfRange = "Bridging::VlanId::value < 1 or > 4094 not allowed";

TEST(VlanId, IsMadeOfTheFirstAndTheLastVlanNumber) {
   EXPECT_EQ(VlanId(uint16_t{1}).value(), 1);
   EXPECT_EQ(VlanId(uint16_t{4094}).value(), 4094);
}

TEST(VlanId, IsNotMadeOfAnyNumberOutside) {
   for (auto const number :
        std::initializer_list<uint16_t>{0, 4095, 4096, 5000, 65535}) {
      EXPECT_EQ(
         Support::thrownMessage<Zin::RangeException>([=] { return VlanId(number); }),
         kOutOfRange)
         << number;
   }
}

TEST(VlanId, IsMadeOfDecimalText) {
   EXPECT_EQ(VlanId("1").value(), 1);
   EXPECT_EQ(VlanId("4094").value(), 4094);
   EXPECT_EQ(Traits::fromText("10").value(), 10);
}

TEST(VlanId, IsNotMadeOfTheTextOfANumberOutside) {
   for (auto const* text : {"0", "4095", "65535", "65536", "99999999999999999999"}) {
      EXPECT_EQ(
         Support::thrownMessage<Zin::RangeException>([=] { return VlanId(text); }),
         kOutOfRange)
         << text;
   }
}

TEST(VlanId, IsNotMadeOfOtherText) {
   for (auto const* text :
        {"", " 10", "10 ", "+10", "-10", "010", "0x10", "1e1", "ten", "10.0"}) {
      auto const message = '"' + std::string(text) + "\" is not a number";
      EXPECT_EQ(
         Support::thrownMessage<Zin::TextException>([=] { return VlanId{text}; }),
         message);
      EXPECT_EQ(
         Support::thrownMessage<Zin::TextException>([=] { return VlanIdOrNone{text}; }),
         message);
   }
}

TEST(VlanId, ConvertsToItsNumberAndComparesByIt) {
   VlanId const ten(uint16_t{10});
   EXPECT_EQ(ten, 10);
   EXPECT_LT(ten, VlanId(uint16_t{11}));
   EXPECT_EQ(VlanId(), VlanId(uint16_t{1}));
}

TEST(VlanId, TextFormIsTheDecimalNumber) {
   EXPECT_EQ(Traits::toText(VlanId(uint16_t{4094})), "4094");
   std::ostringstream out;
   out << VlanId(uint16_t{7}) << ' ' << VlanIdOrNone(uint16_t{0});
   EXPECT_EQ(out.str(), "7 0");
}

TEST(VlanIdOrNone, HoldsEvery16BitNumber) {
   for (uint32_t number = 0; number <= 0xffff; ++number) {
      auto const held = VlanIdOrNone(static_cast<uint16_t>(number));
      ASSERT_EQ(held.value(), number);
      ASSERT_EQ(OrNoneTraits::fromText(OrNoneTraits::toText(held)), held);
   }
}

TEST(VlanIdOrNone, IsNoneByDefaultAndAtZeroOnly) {
   EXPECT_TRUE(VlanIdOrNone().isNone());
   EXPECT_TRUE(VlanIdOrNone(uint16_t{0}).isNone());
   EXPECT_FALSE(VlanIdOrNone(uint16_t{1}).isNone());
   EXPECT_FALSE(VlanIdOrNone(uint16_t{4095}).isNone());
}

TEST(VlanIdOrNone, DoesNotHoldTheTextOfALargerNumber) {
   EXPECT_EQ(
      Support::thrownMessage<Zin::RangeException>([] { return VlanIdOrNone("65536"); }),
      "\"65536\" is out of range");
}

TEST(VlanIdOrNone, IsPlausibleWhereItIsAVlan) {
   for (auto const number : std::initializer_list<uint16_t>{1, 10, 4094}) {
      EXPECT_TRUE(OrNoneTraits::isPlausible(VlanIdOrNone(number))) << number;
   }
   for (auto const number : std::initializer_list<uint16_t>{0, 4095, 65535}) {
      EXPECT_FALSE(OrNoneTraits::isPlausible(VlanIdOrNone(number))) << number;
   }
}

TEST(VlanIdOrNone, IsMadeOfAVlanId) {
   EXPECT_EQ(VlanIdOrNone(VlanId(uint16_t{20})), VlanIdOrNone(uint16_t{20}));
}

TEST(VlanIdOrNone, NumbersThatNoVlanHasAreRefusedWhereAPlausibleOneIsWanted) {
   auto const& type = Zin::valueTypeOf<VlanIdOrNone>;
   for (auto const* text : {"0", "4095", "65535"}) {
      EXPECT_EQ(type.canonicalText(text, false), text);
      EXPECT_EQ(Support::thrownMessage<Zin::RangeException>(
                   [&] { return type.canonicalText(text, true); }),
                "\"" + std::string(text) + "\" is out of range");
   }
   for (auto const* text : {"1", "4094"}) {
      EXPECT_EQ(type.canonicalText(text, true), text);
   }
}

} // namespace
