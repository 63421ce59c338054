#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "support/DeathMessages.h"
#include "support/NotificationRecorder.h"
#include "vxlan/VtiStatus.h"
#include "vxlan/VtiStatusDir.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Bridging::VlanId;
using Bridging::VlanIdOrNone;
using Lidra::IntfId;
using Lidra::IpAddr;
using Pelk::makePtr;
using Routing::Multicast::PegVlanStatus;
using Routing::Multicast::Evpn::Config;
using Support::NotificationRecorder;
using Vxlan::VtiStatus;
using Vxlan::VtiStatusDir;

using Texts = std::vector<std::string>;

VlanId vlan(uint16_t number) {
   return VlanId(number);
}

VlanIdOrNone sbd(uint16_t number) {
   return VlanIdOrNone(number);
}

TEST(MlagStatus, AnnouncesAStateThatChangesAndNoOther) {
   auto const status = makePtr<Mlag::Status>();
   NotificationRecorder recorder(*status);
   EXPECT_EQ(status->mlagState(), Mlag::MlagState::disabled);
   status->mlagStateIs(Mlag::MlagState::disabled);
   EXPECT_EQ(recorder.take(), Texts{});
   status->mlagStateIs(Mlag::MlagState::active);
   EXPECT_EQ(status->mlagState(), Mlag::MlagState::active);
   status->mlagStateIs(Mlag::MlagState::active);
   status->mlagStateIs(static_cast<Mlag::MlagState>(77));
   EXPECT_EQ(recorder.take(), (Texts{"mlagState = 3", "mlagState = 77"}));
}

TEST(VtiStatus, AnnouncesAnAddressThatChangesAndNoOther) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   NotificationRecorder recorder(*vti);
   EXPECT_EQ(vti->intfId(), IntfId("Vxlan1"));
   EXPECT_EQ(vti->localVtepAddr(), IpAddr());
   vti->localVtepAddrIs(IpAddr());
   vti->mlagVtepAddrIs(IpAddr());
   EXPECT_EQ(recorder.take(), Texts{});
   vti->localVtepAddrIs(IpAddr("10.0.0.1"));
   vti->localVtepAddrIs(IpAddr("10.0.0.1"));
   vti->mlagVtepAddrIs(IpAddr("10.0.0.100"));
   vti->mlagVtepAddrIs(IpAddr("10.0.0.100"));
   EXPECT_EQ(recorder.take(),
             (Texts{"localVtepAddr = 10.0.0.1", "mlagVtepAddr = 10.0.0.100"}));
   EXPECT_EQ(vti->localVtepAddr(), IpAddr("10.0.0.1"));
   EXPECT_EQ(vti->mlagVtepAddr(), IpAddr("10.0.0.100"));
}

TEST(VtiStatus, AnnouncesASbdVlanAlsoIfItStaysTheSame) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   NotificationRecorder recorder(*vti);
   auto const before = vti->vrfToSBDVlan().version();
   vti->vrfToSBDVlanIs("red", sbd(10));
   vti->vrfToSBDVlanIs("red", sbd(10));
   vti->vrfToSBDVlanIs("red", sbd(0));
   EXPECT_EQ(recorder.take(), (Texts{"vrfToSBDVlan[red] = 10", "vrfToSBDVlan[red] = 10",
                                     "vrfToSBDVlan[red] = 0"}));
   EXPECT_EQ(vti->vrfToSBDVlan().version(), before + 3);
}

TEST(VtiStatus, SbdVlanOfAVrfWithoutAnEntryIsNone) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   EXPECT_TRUE(vti->vrfToSBDVlan("red").isNone());
   vti->vrfToSBDVlanIs("red", sbd(5000));
   EXPECT_EQ(vti->vrfToSBDVlan("red").value(), 5000);
   vti->vrfToSBDVlanDel("red");
   EXPECT_TRUE(vti->vrfToSBDVlan("red").isNone());
}

TEST(VtiStatus, AnnouncesARemovalOfAnEntryThatWasThere) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   vti->vrfToSBDVlanIs("red", sbd(10));
   NotificationRecorder recorder(*vti);
   auto const before = vti->vrfToSBDVlan().version();
   vti->vrfToSBDVlanDel("blue");
   EXPECT_EQ(vti->vrfToSBDVlan().version(), before);
   vti->vrfToSBDVlanDel("red");
   vti->vrfToSBDVlanDel("red");
   EXPECT_EQ(recorder.take(), Texts{"vrfToSBDVlan[red] removed"});
   EXPECT_EQ(vti->vrfToSBDVlan().version(), before + 1);
}

TEST(EvpnConfig, AnnouncesATransitVrfThatIsNewOrGoneAndNoOther) {
   auto const config = makePtr<Config>();
   NotificationRecorder recorder(*config);
   auto const before = config->transitVrf().version();
   config->transitVrfIs("red");
   EXPECT_TRUE(config->transitVrfHas("red"));
   config->transitVrfIs("red");
   config->transitVrfDel("blue");
   EXPECT_EQ(config->transitVrf().version(), before + 1);
   config->transitVrfDel("red");
   EXPECT_FALSE(config->transitVrfHas("red"));
   config->transitVrfDel("red");
   EXPECT_EQ(recorder.take(), (Texts{"transitVrf[red]", "transitVrf[red] removed"}));
   EXPECT_EQ(config->transitVrf().version(), before + 2);
}

TEST(PegVlanStatus, AnnouncesAVlanThatIsNewOrGoneAndNoOther) {
   auto const status = makePtr<PegVlanStatus>();
   NotificationRecorder recorder(*status);
   auto const before = status->pegVlan().version();
   status->pegVlanIs(vlan(10));
   EXPECT_TRUE(status->pegVlanHas(vlan(10)));
   EXPECT_EQ(status->pegVlan().find(vlan(10))->value().vlanId(), vlan(10));
   status->pegVlanIs(vlan(10));
   status->pegVlanDel(vlan(20));
   EXPECT_EQ(status->pegVlan().version(), before + 1);
   status->pegVlanDel(vlan(10));
   EXPECT_FALSE(status->pegVlanHas(vlan(10)));
   EXPECT_EQ(recorder.take(), (Texts{"pegVlan[10]", "pegVlan[10] removed"}));
}

TEST(VtiStatusDir, AnnouncesEveryStatusThatIsPutIntoIt) {
   auto const dir = makePtr<VtiStatusDir>();
   NotificationRecorder recorder(*dir);
   auto const first = makePtr<VtiStatus>(IntfId("Vxlan1"));
   auto const second = makePtr<VtiStatus>(IntfId("Vxlan1"));
   dir->vtiStatusIs(first);
   dir->vtiStatusIs(first);
   dir->vtiStatusIs(second);
   EXPECT_EQ(recorder.take(), Texts(3, "vtiStatus[Vxlan1] = Vxlan::VtiStatus"));
   EXPECT_EQ(dir->vtiStatus(IntfId("Vxlan1")), second);
   EXPECT_EQ(dir->vtiStatus(IntfId("Vxlan2")), nullptr);
   EXPECT_EQ(dir->vtiStatus().size(), 1u);
   EXPECT_EQ(first->useCount(), 1u);
}

TEST(VtiStatusDir, AnnouncesARemovalOfAStatusThatWasThere) {
   auto const dir = makePtr<VtiStatusDir>();
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   dir->vtiStatusIs(vti);
   NotificationRecorder recorder(*dir);
   dir->vtiStatusDel(IntfId("Vxlan2"));
   dir->vtiStatusDel(IntfId("Vxlan1"));
   dir->vtiStatusDel(IntfId("Vxlan1"));
   EXPECT_EQ(recorder.take(), Texts{"vtiStatus[Vxlan1] removed"});
   EXPECT_EQ(vti->useCount(), 1u);
}

TEST(VtiStatusDir, TakesTheStatusThatItHoldsItself) {
   auto const dir = makePtr<VtiStatusDir>();
   dir->vtiStatusIs(makePtr<VtiStatus>(IntfId("Vxlan1")));
   NotificationRecorder recorder(*dir);
   dir->vtiStatusIs(dir->vtiStatus().find(IntfId("Vxlan1"))->value());
   EXPECT_EQ(recorder.texts().size(), 1u);
   EXPECT_EQ(dir->vtiStatus(IntfId("Vxlan1"))->useCount(), 2u);
}

TEST(VtiStatusDir, ShowsEverySubscriberAStatusThatTheFirstOneRemoved) {
   auto const dir = makePtr<VtiStatusDir>();
   auto vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   NotificationRecorder first(*dir);
   NotificationRecorder second(*dir);
   first.actionIs([&] {
      first.actionIs(nullptr);
      vti = nullptr;
      dir->vtiStatusDel(IntfId("Vxlan1"));
   });
   dir->vtiStatusIs(vti);
   EXPECT_EQ(second.texts(), (Texts{"vtiStatus[Vxlan1] removed",
                                    "vtiStatus[Vxlan1] = Vxlan::VtiStatus"}));
}

TEST(VtiStatusDirDeathTest, NullStatusIsFatal) {
   auto const dir = makePtr<VtiStatusDir>();
   EXPECT_DEATH(dir->vtiStatusIs(nullptr),
                Support::assertionMessage("A VtiStatus cannot be null"));
}

TEST(VtiStatusDir, DoesNotPassOnWhatItsStatusesAnnounce) {
   auto const dir = makePtr<VtiStatusDir>();
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   dir->vtiStatusIs(vti);
   NotificationRecorder recorder(*dir);
   vti->localVtepAddrIs(IpAddr("10.0.0.1"));
   vti->vrfToSBDVlanIs("red", sbd(1));
   EXPECT_EQ(recorder.texts(), Texts{});
}

TEST(InputEntity, EachDelAllAnnouncesEveryMemberOnceInTheCollectionsOrder) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   auto const config = makePtr<Config>();
   auto const pegVlans = makePtr<PegVlanStatus>();
   auto const dir = makePtr<VtiStatusDir>();
   for (uint16_t i = 1; i <= 40; ++i) {
      auto const name = "vrf" + std::to_string(i);
      vti->vrfToSBDVlanIs(std::string_view(name), sbd(i));
      config->transitVrfIs(std::string_view(name));
      pegVlans->pegVlanIs(vlan(i));
      dir->vtiStatusIs(makePtr<VtiStatus>(IntfId("Vxlan" + std::to_string(i))));
   }
   auto const check = [](auto& entity, auto const& collection, std::string const& name,
                         auto toText, auto delAll) {
      Texts expected;
      for (auto const& member : collection) {
         expected.push_back(name + '[' + toText(member.key()) + "] removed");
      }
      ASSERT_EQ(expected.size(), 40u);
      NotificationRecorder recorder(entity);
      delAll();
      EXPECT_EQ(recorder.take(), expected);
      EXPECT_TRUE(collection.empty());
      delAll();
      EXPECT_EQ(recorder.take(), Texts{});
   };
   auto const vrfText = [](L3::VrfName const& vrf) { return std::string(vrf.view()); };
   auto const intfText = [](IntfId intf) { return intf.stringValue(); };
   check(*vti, vti->vrfToSBDVlan(), "vrfToSBDVlan", vrfText,
         [&] { vti->vrfToSBDVlanDelAll(); });
   check(*config, config->transitVrf(), "transitVrf", vrfText,
         [&] { config->transitVrfDelAll(); });
   check(
      *pegVlans, pegVlans->pegVlan(), "pegVlan",
      [](VlanId id) { return std::to_string(id.value()); },
      [&] { pegVlans->pegVlanDelAll(); });
   check(*dir, dir->vtiStatus(), "vtiStatus", intfText,
         [&] { dir->vtiStatusDelAll(); });
}

TEST(InputEntity, CallbackSeesTheChangeAndItsVersion) {
   auto const config = makePtr<Config>();
   auto const before = config->transitVrf().version();
   NotificationRecorder recorder(*config);
   std::vector<std::pair<bool, uint32_t>> seen;
   recorder.actionIs([&] {
      seen.emplace_back(config->transitVrfHas("red"),
                        config->transitVrf().version() - before);
   });
   config->transitVrfIs("red");
   config->transitVrfDel("red");
   config->transitVrfIs("red");
   config->transitVrfDelAll();
   EXPECT_EQ(seen, (std::vector<std::pair<bool, uint32_t>>{
                      {true, 1}, {false, 2}, {true, 3}, {false, 4}}));
}

TEST(InputEntity, CallbackOfDelAllSeesTheMembersThatAreLeft) {
   auto const config = makePtr<Config>();
   for (auto const* vrf : {"red", "green", "blue"}) {
      config->transitVrfIs(vrf);
   }
   auto const before = config->transitVrf().version();
   NotificationRecorder recorder(*config);
   std::vector<std::pair<size_t, uint32_t>> seen;
   recorder.actionIs([&] {
      seen.emplace_back(config->transitVrf().size(),
                        config->transitVrf().version() - before);
   });
   config->transitVrfDelAll();
   EXPECT_EQ(seen, (std::vector<std::pair<size_t, uint32_t>>{{2, 1}, {1, 2}, {0, 3}}));
}

TEST(InputEntity, CallbackMayRemoveOthersDuringDelAll) {
   auto const config = makePtr<Config>();
   for (int i = 0; i < 20; ++i) {
      config->transitVrfIs(std::string_view("vrf" + std::to_string(i)));
   }
   NotificationRecorder recorder(*config);
   recorder.actionIs([&] {
      if (!config->transitVrf().empty()) {
         config->transitVrfDel(L3::VrfName(config->transitVrf().begin()->key()));
      }
   });
   config->transitVrfDelAll();
   auto texts = recorder.take();
   EXPECT_EQ(texts.size(), 20u);
   std::sort(texts.begin(), texts.end());
   EXPECT_EQ(std::unique(texts.begin(), texts.end()), texts.end());
   EXPECT_TRUE(config->transitVrf().empty());
}

TEST(InputEntity, MemberAddedAgainDuringItsRemovalByDelAllStays) {
   auto const config = makePtr<Config>();
   for (int i = 0; i < 20; ++i) {
      config->transitVrfIs(std::string_view("vrf" + std::to_string(i)));
   }
   NotificationRecorder recorder(*config);
   recorder.actionIs([&] {
      if (recorder.texts().back() == "transitVrf[vrf7] removed") {
         config->transitVrfIs("vrf7");
      }
   });
   config->transitVrfDelAll();
   EXPECT_EQ(recorder.texts().size(), 21u);
   EXPECT_EQ(config->transitVrf().size(), 1u);
   EXPECT_TRUE(config->transitVrfHas("vrf7"));
}

TEST(InputEntity, DelAllInsideDelAllLeavesNothing) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   for (uint16_t i = 1; i <= 30; ++i) {
      vti->vrfToSBDVlanIs(std::string_view("vrf" + std::to_string(i)), sbd(i));
   }
   NotificationRecorder recorder(*vti);
   recorder.actionIs([&] {
      if (recorder.texts().size() == 5) {
         vti->vrfToSBDVlanDelAll();
      }
   });
   vti->vrfToSBDVlanDelAll();
   EXPECT_TRUE(vti->vrfToSBDVlan().empty());
   EXPECT_EQ(recorder.texts().size(), 30u);
}

} // namespace
