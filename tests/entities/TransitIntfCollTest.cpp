#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"

#include "McastVpnLib/McastVpnLib.h"
#include "support/NotificationRecorder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Irb::Multicast::Evpn::TransitIntf;
using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Evpn::transitIntfCollFactory;
using Lidra::IntfId;
using Lidra::IpGenAddr;
using Support::NotificationRecorder;

using Texts = std::vector<std::string>;

IntfId const kTen("Vlan10");
IntfId const kTwenty("Vlan20");
IpGenAddr const kAddr("10.0.0.1");
IpGenAddr const kOtherAddr("10.0.0.2");
constexpr auto kTenIsNew = "intf[Vlan10] = Irb::Multicast::Evpn::TransitIntf";

TEST(TransitIntf, IsMadeWithBothAttributes) {
   auto const intf = Pelk::makePtr<TransitIntf>(kTen, kAddr);
   EXPECT_EQ(intf->intfId(), kTen);
   EXPECT_EQ(intf->ipAddr(), kAddr);
}

TEST(TransitIntf, AnnouncesAnAddressThatChangesOnce) {
   auto const intf = Pelk::makePtr<TransitIntf>(kTen, kAddr);
   NotificationRecorder recorder(*intf);
   std::vector<IpGenAddr> seen;
   recorder.actionIs([&] { seen.push_back(intf->ipAddr()); });
   intf->ipAddrIs(kOtherAddr);
   EXPECT_EQ(recorder.texts(), Texts{"ipAddr = 10.0.0.2"});
   EXPECT_EQ(seen, std::vector<IpGenAddr>{kOtherAddr});
}

TEST(TransitIntf, AnnouncesNothingForTheSameAddress) {
   auto const intf = Pelk::makePtr<TransitIntf>(kTen, kAddr);
   NotificationRecorder recorder(*intf);
   intf->ipAddrIs(kAddr);
   intf->ipAddrIs(intf->ipAddr());
   EXPECT_EQ(recorder.texts(), Texts{});
}

TEST(TransitIntf, ZeroAddressesOfEitherFamilyAreTwoAddresses) {
   auto const intf = Pelk::makePtr<TransitIntf>(
      kTen, IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv4));
   NotificationRecorder recorder(*intf);
   intf->ipAddrIs(IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv6));
   EXPECT_EQ(recorder.texts(), Texts{"ipAddr = ::"});
}

TEST(TransitIntfColl, IsMadeEmptyByEitherFactory) {
   EXPECT_TRUE(transitIntfCollFactory()->intf().empty());
   EXPECT_TRUE(TransitIntfColl::TransitIntfCollIs()->intf().empty());
   EXPECT_EQ(transitIntfCollFactory()->useCount(), 1u);
}

TEST(TransitIntfColl, NewKeyMakesAnElementAndAnnouncesItOnce) {
   auto const coll = transitIntfCollFactory();
   NotificationRecorder recorder(*coll);
   auto const before = coll->intf().version();
   bool present = false;
   recorder.actionIs([&] {
      present = coll->intf(kTen) != nullptr && coll->intf(kTen)->ipAddr() == kAddr &&
                coll->intf().version() == before + 1;
   });
   auto const made = coll->intfIs(kTen, kAddr);
   EXPECT_EQ(recorder.texts(), Texts{kTenIsNew});
   EXPECT_TRUE(present) << "the callback did not see the element";
   EXPECT_EQ(coll->intf(kTen), made);
   EXPECT_EQ(made->useCount(), 2u);
}

TEST(TransitIntfColl, PresentKeyWithTheSameAddressAnnouncesNothingAtAll) {
   auto const coll = transitIntfCollFactory();
   auto const made = coll->intfIs(kTen, kAddr);
   auto const before = coll->intf().version();
   NotificationRecorder ofColl(*coll);
   NotificationRecorder ofIntf(*made);
   EXPECT_EQ(coll->intfIs(kTen, kAddr), made);
   EXPECT_EQ(ofColl.texts(), Texts{});
   EXPECT_EQ(ofIntf.texts(), Texts{});
   EXPECT_EQ(coll->intf().version(), before);
}

TEST(TransitIntfColl, PresentKeyWithAnotherAddressAnnouncesItOnTheElementOnly) {
   auto const coll = transitIntfCollFactory();
   auto const made = coll->intfIs(kTen, kAddr);
   auto const before = coll->intf().version();
   NotificationRecorder ofColl(*coll);
   NotificationRecorder ofIntf(*made);
   EXPECT_EQ(coll->intfIs(kTen, kOtherAddr), made);
   EXPECT_EQ(ofColl.texts(), Texts{});
   EXPECT_EQ(ofIntf.texts(), Texts{"ipAddr = 10.0.0.2"});
   EXPECT_EQ(coll->intf().version(), before);
}

TEST(TransitIntfColl, RemovalReturnsTheElementAndAnnouncesItOnce) {
   auto const coll = transitIntfCollFactory();
   auto const* const made = coll->intfIs(kTen, kAddr).get();
   NotificationRecorder recorder(*coll);
   bool absent = false;
   recorder.actionIs([&] { absent = coll->intf(kTen) == nullptr; });
   auto const removed = coll->intfDel(kTen);
   EXPECT_EQ(removed.get(), made);
   EXPECT_EQ(removed->useCount(), 1u);
   EXPECT_EQ(removed->ipAddr(), kAddr);
   EXPECT_EQ(recorder.texts(), Texts{"intf[Vlan10] removed"});
   EXPECT_TRUE(absent);
}

TEST(TransitIntfColl, RemovalOfAnAbsentKeyReturnsNullAndAnnouncesNothing) {
   auto const coll = transitIntfCollFactory();
   coll->intfIs(kTwenty, kAddr);
   auto const before = coll->intf().version();
   NotificationRecorder recorder(*coll);
   EXPECT_EQ(coll->intfDel(kTen), nullptr);
   EXPECT_EQ(recorder.texts(), Texts{});
   EXPECT_EQ(coll->intf().version(), before);
}

TEST(TransitIntfColl, LookUpOfAnAbsentKeyIsNull) {
   EXPECT_EQ(transitIntfCollFactory()->intf(kTen), nullptr);
}

TEST(TransitIntfColl, ElementThatWasRemovedIsAnotherThanTheNextOfItsKey) {
   auto const coll = transitIntfCollFactory();
   auto const first = coll->intfIs(kTen, kAddr);
   coll->intfDel(kTen);
   auto const second = coll->intfIs(kTen, kAddr);
   EXPECT_NE(first, second);
   first->ipAddrIs(kOtherAddr);
   EXPECT_EQ(coll->intf(kTen)->ipAddr(), kAddr);
}

TEST(TransitIntfColl, DelAllAnnouncesEachRemovedKey) {
   auto const coll = transitIntfCollFactory();
   Texts expected;
   for (int i = 1; i <= 50; ++i) {
      coll->intfIs(Lidra::VlanIntfId::vlanIdToIntfId(static_cast<uint16_t>(i)), kAddr);
   }
   for (auto const& member : coll->intf()) {
      expected.push_back("intf[" + member.key().stringValue() + "] removed");
   }
   NotificationRecorder recorder(*coll);
   coll->intfDelAll();
   EXPECT_EQ(recorder.take(), expected);
   EXPECT_TRUE(coll->intf().empty());
   coll->intfDelAll();
   EXPECT_EQ(recorder.take(), Texts{});
}

TEST(TransitIntfColl, ElementsOutliveItWhereTheyAreHeld) {
   auto coll = transitIntfCollFactory();
   auto const intf = coll->intfIs(kTen, kAddr);
   NotificationRecorder recorder(*intf);
   coll = nullptr;
   EXPECT_EQ(intf->useCount(), 1u);
   intf->ipAddrIs(kOtherAddr);
   EXPECT_EQ(recorder.texts().size(), 1u);
}

TEST(TransitIntfColl, CallbackMayRemoveTheElementThatIsBeingMade) {
   auto const coll = transitIntfCollFactory();
   NotificationRecorder recorder(*coll);
   recorder.actionIs([&] { coll->intfDel(kTen); });
   auto const made = coll->intfIs(kTen, kAddr);
   EXPECT_EQ(made->useCount(), 1u);
   EXPECT_EQ(coll->intf(kTen), nullptr);
   EXPECT_EQ(recorder.texts(), (Texts{kTenIsNew, "intf[Vlan10] removed"}));
}

TEST(TransitIntfColl, CallbackOfAnElementMayRemoveItFromTheCollection) {
   auto const coll = transitIntfCollFactory();
   auto* const bare = coll->intfIs(kTen, kAddr).get();
   NotificationRecorder recorder(*bare);
   recorder.actionIs([&] { coll->intfDel(kTen); });
   auto const returned = coll->intfIs(kTen, kOtherAddr);
   EXPECT_EQ(returned.get(), bare);
   EXPECT_EQ(returned->useCount(), 1u);
   EXPECT_TRUE(coll->intf().empty());
}

} // namespace
