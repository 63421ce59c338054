#include "lidra/IntfId.h"

#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Lidra::IntfId;
using Lidra::VlanIntfId;
using Traits = Zin::ValueTraits<IntfId>;

// Names of each way in which an identity can keep one, and around the limits of each.
std::vector<std::string> namesOfEveryKind() {
   return {"",
           "Vlan1",
           "Vlan10",
           "Vlan4094",
           "Vlan65535",
           "Vlan0",
           "Vlan",
           "Vlan010",
           "Vlan00",
           "Vlan70000",
           "Vlan65536",
           "Vlan10.1",
           "Vlan-1",
           "vlan10",
           "Null0",
           "Vxlan1",
           "Vxlan12",
           "Vxlan123",
           "sevenby",
           "eightbyt",
           "Port-Channel12345/678.90",
           std::string(200, 'x'),
           std::string("a\0b"sv),
           std::string("\0"sv),
           std::string("a\0"sv),
           std::string("\0\0\0\0\0\0\0\0\0"sv),
           "\xff\xff\xff\xff\xff\xff\xff",
           "\xc3\xa9th0"};
}

TEST(IntfId, NameIsReadBackFromTheIdentity) {
   for (auto const& name : namesOfEveryKind()) {
      EXPECT_EQ(IntfId(name).stringValue(), name);
      EXPECT_EQ(IntfId(Pelk::String(name)).stringValue(), name);
      EXPECT_EQ(IntfId::valueToStrep(IntfId::sequenceToValue(name)), name);
      EXPECT_EQ(Traits::toText(Traits::fromText(name)), name);
      std::ostringstream out;
      out << IntfId(name);
      EXPECT_EQ(out.str(), name);
   }
}

TEST(IntfId, EqualNamesAreEqualValuesAndOthersAreNot) {
   std::set<uint64_t> values;
   for (auto const& name : namesOfEveryKind()) {
      IntfId const first(name);
      IntfId const second(name);
      EXPECT_EQ(first.value(), second.value());
      EXPECT_TRUE(IntfId::isEq(first, second));
      EXPECT_TRUE(values.insert(first.value()).second) << name;
   }
}

TEST(IntfId, IsA64BitValue) {
   EXPECT_EQ(sizeof(IntfId), 8u);
   EXPECT_EQ(sizeof(IntfId().value()), 8u);
}

TEST(IntfId, DefaultIsTheEmptyName) {
   EXPECT_EQ(IntfId(), IntfId(""));
   EXPECT_EQ(IntfId().stringValue(), "");
   EXPECT_FALSE(Traits::isPlausible(IntfId()));
   EXPECT_TRUE(Traits::isPlausible(IntfId("Null0")));
}

TEST(IntfId, OfAVlanNumberIsItsVlanInterface) {
   for (uint32_t number = 0; number <= 0xffff; ++number) {
      auto const intf = VlanIntfId::vlanIdToIntfId(static_cast<uint16_t>(number));
      ASSERT_EQ(intf, IntfId("Vlan" + std::to_string(number)));
      ASSERT_EQ(intf.stringValue(), "Vlan" + std::to_string(number));
   }
}

TEST(IntfId, OfANumberWrittenOtherwiseIsAnotherInterface) {
   EXPECT_NE(IntfId("Vlan010"), IntfId("Vlan10"));
   EXPECT_NE(IntfId("Vlan70000"), VlanIntfId::vlanIdToIntfId(70000 & 0xffff));
   EXPECT_NE(IntfId("Vlan"), IntfId("Vlan0"));
}

TEST(IntfId, ShortNameKeepsTwoLettersAndWhatFollowsTheLetters) {
   EXPECT_EQ(IntfId("Vlan10").shortName(), "Vl10");
   EXPECT_EQ(IntfId("Vxlan1").shortName(), "Vx1");
   EXPECT_EQ(IntfId("Null0").shortName(), "Nu0");
   EXPECT_EQ(IntfId("Ethernet12/3").shortName(), "Et12/3");
   EXPECT_EQ(IntfId("Port-Channel7").shortName(), "Po-Channel7");
   EXPECT_EQ(IntfId("Vl").shortName(), "Vl");
   EXPECT_EQ(IntfId("V1").shortName(), "V1");
   EXPECT_EQ(IntfId("Vlan").shortName(), "Vl");
   EXPECT_EQ(IntfId("42").shortName(), "42");
   EXPECT_EQ(IntfId().shortName(), "");
}

TEST(IntfId, HashDependsOnTheIdentityAndTheSeed) {
   EXPECT_EQ(IntfId("Vlan10").hash(7), VlanIntfId::vlanIdToIntfId(10).hash(7));
   EXPECT_NE(IntfId("Vlan10").hash(7), IntfId("Vlan11").hash(7));
   EXPECT_NE(IntfId("Vlan10").hash(7), IntfId("Vlan10").hash(8));
}

TEST(IntfId, OrderIsThatOfTheValues) {
   EXPECT_LT(IntfId("Vlan9"), IntfId("Vlan10"));
   EXPECT_EQ(IntfId("a") < IntfId("b"), IntfId("a").value() < IntfId("b").value());
}

TEST(IntfId, LongNamesMadeInSeveralThreadsAgree) {
   constexpr int kThreads = 4;
   std::vector<std::vector<IntfId>> made(kThreads);
   std::vector<std::thread> threads;
   for (auto& mine : made) {
      threads.emplace_back([&mine] {
         for (int i = 0; i < 500; ++i) {
            auto const name = "a-long-interface-name-" + std::to_string(i);
            mine.emplace_back(name);
            ASSERT_EQ(mine.back().stringValue(), name);
         }
      });
   }
   for (auto& thread : threads) {
      thread.join();
   }
   for (auto const& other : made) {
      EXPECT_EQ(other, made.front());
   }
}

} // namespace
