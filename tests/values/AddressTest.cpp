#include "lidra/AddressFamily.h"
#include "lidra/IpAddr.h"
#include "lidra/IpGenAddr.h"
#include "support/ThrownMessage.h"
#include "zin/RangeException.h"

#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Lidra::AddressFamily;
using Lidra::IpAddr;
using Lidra::IpGenAddr;
using AddrTraits = Zin::ValueTraits<IpAddr>;
using GenAddrTraits = Zin::ValueTraits<IpGenAddr>;
using FamilyTraits = Zin::ValueTraits<AddressFamily>;

template <typename T>
std::string printed(T const& value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

constexpr std::string_view kNotIpv4[] = {
   ""sv,          "10"sv,         "10.0.0"sv,      "10.0.0.0.1"sv, "10.0.0.256"sv,
   "10.0.0.-1"sv, "10.0.0.1 "sv,  " 10.0.0.1"sv,   "10.0.0.01"sv,  "0x0a.0.0.1"sv,
   "10..0.1"sv,   "10.0.0.1\0"sv, "10.0.0.1/32"sv, "ten.0.0.1"sv,  "10,0,0,1"sv};

TEST(IpAddr, DefaultIsTheZeroAddress) {
   EXPECT_EQ(IpAddr().value(), 0u);
   EXPECT_EQ(IpAddr().stringValue(), "0.0.0.0");
   EXPECT_EQ(IpAddr(), IpAddr("0.0.0.0"));
}

TEST(IpAddr, TextGoesBothWays) {
   for (auto const* text : {"0.0.0.0", "10.0.0.1", "255.255.255.255", "1.2.3.4"}) {
      EXPECT_EQ(IpAddr(text).stringValue(), text);
      EXPECT_EQ(AddrTraits::toText(AddrTraits::fromText(text)), text);
      EXPECT_EQ(printed(IpAddr(text)), text);
   }
}

TEST(IpAddr, FirstOctetIsTheHighest) {
   EXPECT_EQ(IpAddr("10.1.2.3").value(), 0x0a010203u);
   EXPECT_EQ(IpAddr(0x0a010203u).stringValue(), "10.1.2.3");
   EXPECT_LT(IpAddr("9.255.255.255"), IpAddr("10.0.0.0"));
}

TEST(IpAddr, IsNotMadeOfOtherText) {
   for (auto const text : kNotIpv4) {
      auto const message = '"' + std::string(text) + "\" is not an IPv4 address";
      EXPECT_STREQ(Support::thrownMessage<Zin::TextException>([=] {
                      return IpAddr{text};
                   }).c_str(),
                   message.c_str());
   }
   EXPECT_EQ(Support::thrownMessage<Zin::TextException>([] { return IpAddr("::"); }),
             "\"::\" is not an IPv4 address");
}

TEST(IpGenAddr, IsAnAddressOf16BytesAndAFamilyOfOne) {
   EXPECT_EQ(sizeof(IpGenAddr), 17u);
}

TEST(IpGenAddr, DefaultIsTheZeroAddressOfIpv4) {
   EXPECT_EQ(IpGenAddr(), IpGenAddr(AddressFamily::ipv4));
   EXPECT_EQ(IpGenAddr().af(), AddressFamily::ipv4);
   EXPECT_EQ(IpGenAddr().stringValue(), "0.0.0.0");
}

TEST(IpGenAddr, ZeroOfEitherFamilyIsThatFamilysWildcard) {
   auto const four = IpGenAddr::ipGenAddrZero(AddressFamily::ipv4);
   auto const six = IpGenAddr::ipGenAddrZero(AddressFamily::ipv6);
   EXPECT_EQ(four.stringValue(), "0.0.0.0");
   EXPECT_EQ(six.stringValue(), "::");
   EXPECT_EQ(six.af(), AddressFamily::ipv6);
   EXPECT_EQ(four.bytes(), six.bytes());
   EXPECT_NE(four, six);
   EXPECT_FALSE(IpGenAddr::isEq(four, six));
}

TEST(IpGenAddr, IsMadeOfAnIpv4Address) {
   IpGenAddr const addr = IpAddr("10.1.2.3");
   EXPECT_EQ(addr.af(), AddressFamily::ipv4);
   EXPECT_EQ(addr, IpGenAddr("10.1.2.3"));
   std::array<uint8_t, 16> const bytes{10, 1, 2, 3};
   EXPECT_EQ(addr.bytes(), bytes);
}

TEST(IpGenAddr, TextOfEitherFamilyGoesBothWays) {
   for (auto const* text :
        {"0.0.0.0", "239.1.2.3", "255.255.255.255", "::", "::1", "ff02::16",
         "2001:db8::a:b", "2001:db8:1:2:3:4:5:6", "::ffff:10.0.0.1"}) {
      EXPECT_EQ(IpGenAddr(text).stringValue(), text);
      EXPECT_EQ(GenAddrTraits::toText(GenAddrTraits::fromText(text)), text);
      EXPECT_EQ(IpGenAddr::valueToStrep(IpGenAddr::sequenceToValue(text)), text);
      EXPECT_EQ(printed(IpGenAddr(text)), text);
   }
}

TEST(IpGenAddr, MappedIpv4AddressIsOfIpv6) {
   EXPECT_EQ(IpGenAddr("::ffff:10.0.0.1").af(), AddressFamily::ipv6);
   EXPECT_NE(IpGenAddr("::ffff:10.0.0.1"), IpGenAddr("10.0.0.1"));
}

TEST(IpGenAddr, IsNotMadeOfOtherText) {
   for (auto const text : kNotIpv4) {
      EXPECT_THROW(IpGenAddr{text}, Zin::TextException) << text;
   }
   EXPECT_EQ(
      Support::thrownMessage<Zin::TextException>([] { return IpGenAddr("::g"); }),
      "\"::g\" is not an IP address");
   for (auto const text :
        {":"sv, ":::"sv, "1::2::3"sv, "2001:db8"sv, "::g"sv, "::1 "sv, "fe80::1%eth0"sv,
         "::1\0"sv, "[::1]"sv, "::1/128"sv, "1:2:3:4:5:6:7:8:9"sv, "::12345"sv}) {
      EXPECT_THROW(IpGenAddr{text}, Zin::TextException) << text;
   }
}

TEST(IpGenAddr, SortsIpv4BeforeIpv6AndThenByTheBytes) {
   std::set<IpGenAddr> const sorted{IpGenAddr("::"),       IpGenAddr("255.255.255.255"),
                                    IpGenAddr("::1"),      IpGenAddr("9.0.0.1"),
                                    IpGenAddr("10.0.0.0"), IpGenAddr("0.0.0.0")};
   std::string order;
   for (auto const& addr : sorted) {
      order += addr.stringValue() + ' ';
   }
   EXPECT_EQ(order, "0.0.0.0 9.0.0.1 10.0.0.0 255.255.255.255 :: ::1 ");
}

TEST(IpGenAddr, HashDependsOnAddressFamilyAndSeed) {
   IpGenAddr const addr("10.0.0.1");
   EXPECT_EQ(addr.hash(5u), IpGenAddr(IpAddr("10.0.0.1")).hash(5u));
   EXPECT_NE(addr.hash(5u), IpGenAddr("10.0.0.2").hash(5u));
   EXPECT_NE(addr.hash(5u), addr.hash(6u));
   EXPECT_NE(IpGenAddr(AddressFamily::ipv4).hash(5u),
             IpGenAddr(AddressFamily::ipv6).hash(5u));
}

TEST(AddressFamily, PrintsAndReadsItsName) {
   EXPECT_EQ(printed(AddressFamily::ipv4), "ipv4");
   EXPECT_EQ(printed(AddressFamily::ipv6), "ipv6");
   for (auto const af : {AddressFamily::ipv4, AddressFamily::ipv6}) {
      EXPECT_EQ(FamilyTraits::fromText(FamilyTraits::toText(af)), af);
   }
   for (auto const* text : {"", "IPv4", "ipv5", "4", "ipv4 "}) {
      EXPECT_EQ(Support::thrownMessage<Zin::TextException>(
                   [=] { return FamilyTraits::fromText(text); }),
                '"' + std::string(text) + "\" is neither ipv4 nor ipv6");
   }
}

TEST(IpGenAddr, AnIpv4AddressMakesTheSameAsItsText) {
   for (uint32_t const value : {0u, 1u, 0x7f000001u, 0x0a000063u, 0xc0000201u,
                                0xe0000001u, 0xfffffffeu, 0xffffffffu}) {
      IpAddr const addr(value);
      EXPECT_EQ(IpGenAddr(addr), IpGenAddr(addr.stringValue()));
   }
}

} // namespace
