#include "l3/VrfName.h"

#include "support/ThrownMessage.h"
#include "zin/RangeException.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using L3::VrfName;
using Traits = Zin::ValueTraits<VrfName>;

constexpr auto kTooLong = "Zin::String::bytes > maxLength() not allowed";

TEST(VrfName, MayHaveExactlyOneHundredBytes) {
   std::string const name(100, 'v');
   EXPECT_EQ(VrfName(name).view(), name);
   EXPECT_EQ(VrfName(Pelk::String(name)).view(), name);
   EXPECT_EQ(VrfName::maxLength(), 100u);
}

TEST(VrfName, OfMoreThanOneHundredBytesIsRefused) {
   for (size_t const size : {101u, 1000u}) {
      std::string const name(size, 'v');
      auto const refused = [](auto make) {
         return Support::thrownMessage<Zin::RangeException>(make);
      };
      EXPECT_EQ(refused([&] { return VrfName(name); }), kTooLong);
      EXPECT_EQ(refused([&] { return VrfName(name.c_str()); }), kTooLong);
      EXPECT_EQ(refused([&] { return VrfName(Pelk::String(name)); }), kTooLong);
      EXPECT_EQ(refused([&] { return Traits::fromText(name); }), kTooLong);
   }
}

TEST(VrfName, CountsBytesNotLetters) {
   std::string name;
   for (int i = 0; i < 50; ++i) {
      name += "\xc3\xa9"; // one letter of two bytes
   }
   EXPECT_EQ(VrfName(name).size(), 100u);
   EXPECT_THROW(VrfName(name + "e"), Zin::RangeException);
}

TEST(VrfName, SortsDefaultBeforeEveryOther) {
   std::vector<VrfName> names{"blue", "default", "alpha"};
   std::sort(names.begin(), names.end());
   EXPECT_EQ(names, (std::vector<VrfName>{"default", "alpha", "blue"}));
}

TEST(VrfName, SortsDefaultBeforeTheEmptyName) {
   EXPECT_TRUE(VrfName("default") < VrfName());
   EXPECT_FALSE(VrfName() < VrfName("default"));
}

TEST(VrfName, DefaultIsNotBeforeItself) {
   EXPECT_FALSE(VrfName("default") < VrfName("default"));
   EXPECT_EQ(VrfName("default"), VrfName("default"));
}

TEST(VrfName, OnlyTheExactNameIsDefault) {
   EXPECT_TRUE(VrfName("default").isDefault());
   for (auto const* name : {"Default", "default ", "defaul", "default1", ""}) {
      EXPECT_FALSE(VrfName(name).isDefault()) << name;
   }
   EXPECT_TRUE(VrfName("alpha") < VrfName("default1"));
}

TEST(VrfName, SortsTheOthersByTheirBytes) {
   EXPECT_TRUE(VrfName("a") < VrfName("aa"));
   EXPECT_TRUE(VrfName("Z") < VrfName("a"));
   EXPECT_TRUE(VrfName("z") < VrfName("\xc3\xa9"));
   EXPECT_TRUE(VrfName("a b") < VrfName("ab"));
}

TEST(VrfName, OrderIsStrictAndTotal) {
   std::mt19937 random(3);
   std::vector<VrfName> names{"default", ""};
   std::string_view const letters = "adeflut";
   for (int i = 0; i < 40; ++i) {
      std::string name;
      for (auto size = random() % 9; size > 0; --size) {
         name.push_back(letters[random() % letters.size()]);
      }
      names.emplace_back(name);
   }
   for (auto const& a : names) {
      for (auto const& b : names) {
         EXPECT_EQ((a < b) + (b < a) + (a == b), 1) << a << ' ' << b;
         for (auto const& c : names) {
            EXPECT_TRUE(!(a < b && b < c) || a < c) << a << ' ' << b << ' ' << c;
         }
      }
   }
}

TEST(VrfName, TextFormIsTheName) {
   std::string const name("a VRF with a blank and a \0 byte", 31);
   EXPECT_EQ(Traits::toText(Traits::fromText(name)), name);
   std::ostringstream out;
   out << VrfName("red blue");
   EXPECT_EQ(out.str(), "red blue");
}

TEST(VrfName, HashesByItsText) {
   std::unordered_set<VrfName> const names{"red", "red", "blue"};
   EXPECT_EQ(names.size(), 2u);
}

} // namespace
