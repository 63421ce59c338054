#include "zin/TypeTable.h"
#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "support/NotificationRecorder.h"
#include "support/ThrownMessage.h"
#include "vxlan/VtiStatusDir.h"
#include "zin/RangeException.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Gmp::MembershipJoinStatus;
using Lidra::IntfId;
using Lidra::IpAddr;
using Lidra::IpGenAddr;
using Pelk::makePtr;
using Routing::Multicast::PegVlanStatus;
using Routing::Multicast::Evpn::Config;
using Vxlan::VtiStatus;
using Vxlan::VtiStatusDir;
using Zin::Attribute;
using Zin::AttributeKind;
using Zin::TypeRegistry;

using Texts = std::vector<std::string>;

std::string printed(Pelk::Entity const& entity) {
   std::ostringstream out;
   Zin::print(out, entity);
   return out.str();
}

// The row of the name, which must be there.
Attribute const& row(Pelk::Entity const& entity, std::string_view name) {
   auto const* const attribute = entity.entityType().attribute(name);
   if (attribute == nullptr) {
      throw std::out_of_range(std::string(name));
   }
   return *attribute;
}

TEST(TypeRegistry, FindsEveryEntityTypeByItsName) {
   // The collection's factory is called, so that the library is loaded.
   auto const coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   auto const& registry = TypeRegistry::instance();
   for (auto const* name :
        {"Mlag::Status", "Routing::Multicast::Evpn::Config",
         "Routing::Multicast::PegVlanStatus", "Vxlan::VtiStatus", "Vxlan::VtiStatusDir",
         "Irb::Multicast::Gmp::MembershipJoinStatus",
         "Irb::Multicast::Gmp::VlanMembershipJoin",
         "Irb::Multicast::Gmp::GroupMembershipJoin",
         "Irb::Multicast::Gmp::SourceMembershipJoin",
         "Irb::Multicast::Evpn::TransitIntf", "Irb::Multicast::Evpn::TransitIntfColl",
         "Irb::Multicast::Evpn::TransitSm"}) {
      auto const* const type = registry.entityType(name);
      ASSERT_NE(type, nullptr) << name;
      EXPECT_EQ(type->name, name);
   }
   EXPECT_EQ(registry.entityType("Irb::Multicast::Evpn::TransitIntfColl"),
             &coll->entityType());
}

TEST(TypeRegistry, FindsEveryValueTypeByItsName) {
   for (auto const* name : {"bool", "Bridging::VlanId", "Bridging::VlanIdOrNone",
                            "L3::VrfName", "Lidra::AddressFamily", "Lidra::IntfId",
                            "Lidra::IpAddr", "Lidra::IpGenAddr", "Mlag::MlagState"}) {
      auto const* const type = TypeRegistry::instance().valueType(name);
      ASSERT_NE(type, nullptr) << name;
      EXPECT_EQ(type->name, name);
      EXPECT_FALSE(type->allowed.empty()) << name;
   }
}

TEST(TypeRegistry, UnknownNameGivesNull) {
   for (auto const* name : {"", "Mlag", "mlag::status", "Mlag::Status "}) {
      EXPECT_EQ(TypeRegistry::instance().entityType(name), nullptr);
      EXPECT_EQ(TypeRegistry::instance().valueType(name), nullptr);
   }
}

TEST(TypeRegistry, NamesEachTypeOnce) {
   std::set<std::string_view> names;
   for (auto const* type : TypeRegistry::instance().entityTypes()) {
      EXPECT_TRUE(names.insert(type->name).second) << type->name;
   }
   for (auto const* type : TypeRegistry::instance().valueTypes()) {
      EXPECT_TRUE(names.insert(type->name).second) << type->name;
   }
}

TEST(TypeRegistry, ForgetsATypeWhoseRegistrationEnds) {
   static constexpr Zin::EntityType kTransient{"Tests::Transient", {}};
   {
      Zin::TypeRegistration const registration(kTransient);
      EXPECT_EQ(TypeRegistry::instance().entityType("Tests::Transient"), &kTransient);
   }
   EXPECT_EQ(TypeRegistry::instance().entityType("Tests::Transient"), nullptr);
}

TEST(TypeTable, EachTypesAttributesHaveNamesAndIdsOfTheirOwn) {
   auto const types = TypeRegistry::instance().entityTypes();
   ASSERT_GE(types.size(), 12u);
   for (auto const* type : types) {
      std::set<std::string_view> names;
      std::set<int16_t> ids;
      EXPECT_FALSE(type->attributes.empty()) << type->name;
      for (auto const& attribute : type->attributes) {
         EXPECT_TRUE(names.insert(attribute.name).second) << attribute.name;
         EXPECT_TRUE(ids.insert(attribute.id).second) << attribute.id;
         EXPECT_EQ(type->attribute(attribute.name), &attribute);
         EXPECT_EQ(type->attribute(attribute.id), &attribute);
      }
      EXPECT_EQ(type->attribute("noSuchAttribute"), nullptr);
      EXPECT_EQ(type->attribute(int16_t{1}), nullptr);
   }
}

TEST(TypeTable, EachAttributeHasTheOperationsOfItsKind) {
   for (auto const* type : TypeRegistry::instance().entityTypes()) {
      for (auto const& it : type->attributes) {
         SCOPED_TRACE(std::string(type->name) + "." + std::string(it.name));
         bool const isValue =
            it.kind == AttributeKind::key || it.kind == AttributeKind::value;
         bool const isChildren = it.kind == AttributeKind::children;
         bool const changes = it.isCollection() && it.writable;
         EXPECT_EQ(it.get != nullptr, isValue);
         EXPECT_EQ(it.set != nullptr, it.kind == AttributeKind::value && it.writable);
         EXPECT_EQ(it.target != nullptr, it.kind == AttributeKind::pointer);
         for (bool const present : {it.size != nullptr, it.memberHas != nullptr,
                                    it.members != nullptr, it.keyType != nullptr}) {
            EXPECT_EQ(present, it.isCollection());
         }
         EXPECT_EQ(it.memberDel != nullptr, changes);
         EXPECT_EQ(it.memberGet != nullptr, it.isCollection() && !isChildren);
         EXPECT_EQ(it.memberIs != nullptr, changes && !isChildren);
         EXPECT_EQ(it.child != nullptr, isChildren);
         EXPECT_EQ(it.childType != nullptr, isChildren);
         EXPECT_EQ(it.childIs != nullptr || it.childNew != nullptr,
                   changes && isChildren);
         EXPECT_EQ(it.childNew != nullptr, it.childAdopt != nullptr);
      }
   }
}

TEST(TypeTable, ValueIsReadAndWrittenAsText) {
   auto const status = makePtr<Mlag::Status>();
   auto const& state = row(*status, "mlagState");
   state.set(*status, "active");
   EXPECT_EQ(status->mlagState(), Mlag::MlagState::active);
   EXPECT_EQ(state.get(*status), "3");
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   for (auto const* name : {"localVtepAddr", "mlagVtepAddr"}) {
      row(*vti, name).set(*vti, "10.0.0.7");
      EXPECT_EQ(row(*vti, name).get(*vti), "10.0.0.7");
   }
   EXPECT_EQ(vti->localVtepAddr(), IpAddr("10.0.0.7"));
   EXPECT_EQ(vti->mlagVtepAddr(), IpAddr("10.0.0.7"));
   EXPECT_EQ(row(*vti, "intfId").get(*vti), "Vxlan1");
   EXPECT_FALSE(row(*vti, "intfId").writable);
}

TEST(TypeTable, TextThatIsRefusedChangesAndAnnouncesNothing) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   Support::NotificationRecorder const recorder(*vti);
   EXPECT_THROW(row(*vti, "localVtepAddr").set(*vti, "ten"), Zin::TextException);
   EXPECT_THROW(row(*vti, "vrfToSBDVlan").memberIs(*vti, "red", "ten"),
                Zin::TextException);
   EXPECT_THROW(row(*vti, "vrfToSBDVlan").memberIs(*vti, std::string(101, 'v'), "1"),
                Zin::RangeException);
   auto const peg = makePtr<PegVlanStatus>();
   EXPECT_THROW(row(*peg, "pegVlan").memberIs(*peg, "4095", ""), Zin::RangeException);
   EXPECT_EQ(recorder.texts(), Texts{});
   EXPECT_EQ(vti->vrfToSBDVlan().size() + peg->pegVlan().size(), 0u);
}

TEST(TypeTable, SetIsReadWrittenAndWalkedAsText) {
   auto const config = makePtr<Config>();
   auto const& vrfs = row(*config, "transitVrf");
   vrfs.memberIs(*config, "red blue", "");
   EXPECT_TRUE(config->transitVrfHas("red blue"));
   EXPECT_TRUE(vrfs.memberHas(*config, "red blue"));
   EXPECT_EQ(vrfs.size(*config), 1u);
   EXPECT_EQ(vrfs.memberGet(*config, "red blue"), "");
   vrfs.members(*config, [](auto const& key, auto const& value, auto* child) {
      EXPECT_EQ(key, "red blue");
      EXPECT_EQ(value, "");
      EXPECT_EQ(child, nullptr);
   });
   vrfs.memberDel(*config, "red blue");
   EXPECT_EQ(vrfs.size(*config), 0u);

   auto const peg = makePtr<PegVlanStatus>();
   row(*peg, "pegVlan").memberIs(*peg, "20", "");
   EXPECT_TRUE(peg->pegVlanHas(Bridging::VlanId(20)));
   row(*peg, "pegVlan").memberDel(*peg, "20");
   EXPECT_FALSE(row(*peg, "pegVlan").memberHas(*peg, "20"));
}

TEST(TypeTable, MapIsReadWrittenAndWalkedAsText) {
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   auto const& vlans = row(*vti, "vrfToSBDVlan");
   vlans.memberIs(*vti, "red", "10");
   vlans.memberIs(*vti, "blue", "20");
   EXPECT_EQ(vti->vrfToSBDVlan("red").value(), 10);
   EXPECT_EQ(vlans.memberGet(*vti, "blue"), "20");
   EXPECT_EQ(vlans.memberGet(*vti, "green"), "");
   std::set<std::string> members;
   vlans.members(*vti, [&](auto const& key, auto const& value, auto*) {
      members.insert(key + '=' + value);
   });
   EXPECT_EQ(members, (std::set<std::string>{"red=10", "blue=20"}));
   vlans.memberDel(*vti, "red");
   EXPECT_EQ(vlans.size(*vti), 1u);
}

TEST(TypeTable, WalkStandsTheRemovalOfEachMemberThatItVisits) {
   auto const config = makePtr<Config>();
   for (int i = 0; i < 30; ++i) {
      config->transitVrfIs(std::string_view("vrf" + std::to_string(i)));
   }
   size_t visits = 0;
   auto const& vrfs = row(*config, "transitVrf");
   vrfs.members(*config, [&](auto const& key, auto const&, auto*) {
      ++visits;
      vrfs.memberDel(*config, key);
   });
   EXPECT_EQ(visits, 30u);
   EXPECT_EQ(vrfs.size(*config), 0u);
}

TEST(TypeTable, WritingThroughItAnnouncesWhatTheEntityAnnounces) {
   auto const byTable = makePtr<VtiStatus>(IntfId("Vxlan1"));
   auto const byHand = makePtr<VtiStatus>(IntfId("Vxlan1"));
   Support::NotificationRecorder const ofTable(*byTable);
   Support::NotificationRecorder const ofHand(*byHand);
   auto const& local = row(*byTable, "localVtepAddr");
   auto const& vlans = row(*byTable, "vrfToSBDVlan");
   for (int i = 0; i < 2; ++i) {
      local.set(*byTable, "1.2.3.4");
      byHand->localVtepAddrIs(IpAddr("1.2.3.4"));
      vlans.memberIs(*byTable, "red", "10");
      byHand->vrfToSBDVlanIs("red", Bridging::VlanIdOrNone(10));
   }
   for (int i = 0; i < 2; ++i) {
      vlans.memberDel(*byTable, "red");
      byHand->vrfToSBDVlanDel("red");
   }
   EXPECT_EQ(ofTable.texts(), ofHand.texts());
   EXPECT_EQ(ofTable.texts().size(), 4u);
   EXPECT_EQ(printed(*byTable), printed(*byHand));
}

TEST(TypeTable, ChildIsMadeWithItsInitialValues) {
   auto const coll = TransitIntfColl::TransitIntfCollIs();
   Support::NotificationRecorder const recorder(*coll);
   auto const& intf = row(*coll, "intf");
   auto const made = intf.childIs(*coll, "Vlan10", {{"ipAddr", "10.0.0.1"}});
   EXPECT_EQ(coll->intf(IntfId("Vlan10")).get(), made.get());
   EXPECT_EQ(coll->intf(IntfId("Vlan10"))->ipAddr(), IpGenAddr("10.0.0.1"));
   EXPECT_EQ(intf.child(*coll, "Vlan10"), made);
   EXPECT_EQ(intf.child(*coll, "Vlan20"), nullptr);
   EXPECT_EQ(row(*made, "ipAddr").get(*made), "10.0.0.1");
   row(*made, "ipAddr").set(*made, "::1");
   EXPECT_EQ(coll->intf(IntfId("Vlan10"))->ipAddr(), IpGenAddr("::1"));
   intf.childIs(*coll, "Vlan20", {});
   EXPECT_EQ(coll->intf(IntfId("Vlan20"))->ipAddr(), IpGenAddr());
   intf.memberDel(*coll, "Vlan10");
   EXPECT_EQ(recorder.texts().size(), 3u);
}

TEST(TypeTable, ChildThatIsMadeFirstIsPublishedWholeOnce) {
   auto const dir = makePtr<VtiStatusDir>();
   Support::NotificationRecorder const recorder(*dir);
   auto const& statuses = row(*dir, "vtiStatus");
   auto const made = statuses.childNew("Vxlan1");
   row(*made, "localVtepAddr").set(*made, "10.0.0.1");
   EXPECT_EQ(statuses.size(*dir), 0u);
   statuses.childAdopt(*dir, made);
   EXPECT_EQ(dir->vtiStatus(IntfId("Vxlan1"))->localVtepAddr(), IpAddr("10.0.0.1"));
   EXPECT_EQ(recorder.texts(), Texts{"vtiStatus[Vxlan1] = Vxlan::VtiStatus"});
   EXPECT_EQ(&made->entityType(), &statuses.childType());
}

TEST(TypeTable, PrintsAnEntityWithEverythingBelowIt) {
   EXPECT_EQ(printed(*makePtr<Mlag::Status>()), "Mlag::Status{ mlagState: 0 }");
   auto const config = makePtr<Config>();
   EXPECT_EQ(printed(*config), "Routing::Multicast::Evpn::Config{ transitVrf: { } }");
   config->transitVrfIs("red");
   EXPECT_EQ(printed(*config),
             "Routing::Multicast::Evpn::Config{ transitVrf: { red } }");
   auto const dir = makePtr<VtiStatusDir>();
   auto const vti = makePtr<VtiStatus>(IntfId("Vxlan1"));
   vti->localVtepAddrIs(IpAddr("10.0.0.1"));
   vti->vrfToSBDVlanIs("red", Bridging::VlanIdOrNone(10));
   dir->vtiStatusIs(vti);
   EXPECT_EQ(printed(*dir),
             "Vxlan::VtiStatusDir{ vtiStatus: { Vxlan1: Vxlan::VtiStatus{ intfId: "
             "Vxlan1, localVtepAddr: 10.0.0.1, mlagVtepAddr: 0.0.0.0, vrfToSBDVlan: { "
             "red: 10 } } } }");
   auto const join = makePtr<MembershipJoinStatus>();
   join->vlanIs(Bridging::VlanId(10))->groupIs(IpGenAddr());
   EXPECT_EQ(printed(*join),
             "Irb::Multicast::Gmp::MembershipJoinStatus{ vlan: { 10: "
             "Irb::Multicast::Gmp::VlanMembershipJoin{ vlanId: 10, routerIntf: { }, "
             "group: { 0.0.0.0: Irb::Multicast::Gmp::GroupMembershipJoin{ group: "
             "0.0.0.0, source: { } } } } } }");
}

TEST(TypeTable, MembersOfACollectionPrintInItsOrderWithCommas) {
   auto const config = makePtr<Config>();
   config->transitVrfIs("red");
   config->transitVrfIs("blue");
   std::string keys;
   for (auto const& member : config->transitVrf()) {
      keys += (keys.empty() ? "" : ", ") + std::string(member.key().view());
   }
   EXPECT_EQ(printed(*config),
             "Routing::Multicast::Evpn::Config{ transitVrf: { " + keys + " } }");
}

TEST(InitialValues, GiveTheNamedValueOrTheFallback) {
   Zin::InitialValues const values{{"ipAddr", "1.2.3.4"}, {"other", ""}};
   EXPECT_EQ(Zin::initialValue(values, "ipAddr", "0.0.0.0"), "1.2.3.4");
   EXPECT_EQ(Zin::initialValue(values, "other", "fallback"), "");
   EXPECT_EQ(Zin::initialValue(values, "none", "fallback"), "fallback");
}

TEST(ValueTypes, CanonicalTextIsTheOneTextOfTheValue) {
   auto const& registry = TypeRegistry::instance();
   auto const* const state = registry.valueType("Mlag::MlagState");
   EXPECT_EQ(state->canonicalText("active", true), "3");
   auto const* const addr = registry.valueType("Lidra::IpGenAddr");
   EXPECT_EQ(addr->canonicalText("2001:DB8:0:0::1", true), "2001:db8::1");
   auto const* const flag = registry.valueType("bool");
   EXPECT_EQ(flag->canonicalText("true", true), "true");
   EXPECT_EQ(flag->canonicalText("false", true), "false");
   EXPECT_EQ(Support::thrownMessage<Zin::TextException>(
                [&] { return flag->canonicalText("yes", false); }),
             "\"yes\" is neither true nor false");
}

TEST(ValueTypes, ImplausibleValuesAreRefusedOnlyWhenAsked) {
   auto const& registry = TypeRegistry::instance();
   auto const* const vlan = registry.valueType("Bridging::VlanIdOrNone");
   for (auto const* text : {"0", "5000"}) {
      EXPECT_EQ(vlan->canonicalText(text, false), text);
      EXPECT_EQ(Support::thrownMessage<Zin::RangeException>(
                   [&] { return vlan->canonicalText(text, true); }),
                '"' + std::string(text) + "\" is out of range");
   }
   auto const* const intf = registry.valueType("Lidra::IntfId");
   EXPECT_EQ(intf->canonicalText("", false), "");
   EXPECT_THROW(intf->canonicalText("", true), Zin::RangeException);
}

} // namespace
