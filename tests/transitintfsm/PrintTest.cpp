#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "McastVpnLib/TransitIntfSm/print/FmtFormatters.h"

#include <gtest/gtest.h>

namespace {

using FlumaCode::flumaPrint;
using FlumaCode::Tuple;
using FlumaCode::Unit;
using OptionalVlan = Zin::Optional<Bridging::VlanIdOrNone>;

TEST(FlumaPrint, PrintsAnOptionalWithBlanksInsideItsParentheses) {
   EXPECT_EQ(flumaPrint(OptionalVlan()), "None");
   EXPECT_EQ(flumaPrint(OptionalVlan(10)), "Optional( 10 )");
   EXPECT_EQ(flumaPrint(OptionalVlan(0)), "Optional( 0 )");
   EXPECT_EQ(flumaPrint(Zin::Optional<Unit>()), "None");
   EXPECT_EQ(flumaPrint(Zin::Optional<Unit>(Unit())), "Optional( Unit )");
}

TEST(FlumaPrint, PrintsATupleElementByElement) {
   EXPECT_EQ(flumaPrint(Tuple<Lidra::IntfId, Lidra::IpGenAddr>(
                Lidra::IntfId("Vlan10"), Lidra::IpAddr("10.0.0.1"))),
             "Tuple( Vlan10, 10.0.0.1 )");
   EXPECT_EQ(flumaPrint(Tuple<OptionalVlan, bool>(10, true)),
             "Tuple( Optional( 10 ), 1 )");
   EXPECT_EQ(flumaPrint(Tuple<OptionalVlan, bool>(OptionalVlan(), false)),
             "Tuple( None, 0 )");
}

TEST(FlumaPrint, PrintsPlainValuesAsTheirStreamForms) {
   EXPECT_EQ(flumaPrint(L3::VrfName("a b")), "a b");
   EXPECT_EQ(flumaPrint(uint16_t{4094}), "4094");
   EXPECT_EQ(flumaPrint(Lidra::IntfId("Vxlan1")), "Vxlan1");
   EXPECT_EQ(flumaPrint(Bridging::VlanId(7)), "7");
   EXPECT_EQ(flumaPrint(Unit()), "Unit");
}

TEST(Formatters, WriteEachValueAsItsUsualText) {
   EXPECT_EQ(fmt::format("{} {} {} {} {}", Bridging::VlanId(10), Lidra::IntfId("Null0"),
                         Lidra::IpGenAddr(Lidra::IpAddr("10.0.0.1")),
                         Lidra::IpGenAddr(Lidra::AddressFamily::ipv6),
                         L3::VrfName("red")),
             "10 Null0 10.0.0.1 :: red");
}

} // namespace
