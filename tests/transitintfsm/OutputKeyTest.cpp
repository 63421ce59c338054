#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "support/ThrownMessage.h"
#include "zin/TypeTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>

namespace {

using Irb::Multicast::Evpn::TransitIntfSm;
using TransitKey = TransitIntfSm::TransitIntfCollIntfOutputKeyType;
using RouterKey = TransitIntfSm::MembershipJoinStatusVlanRouterIntfOutputKeyType;
using ExcludeKey =
   TransitIntfSm::MembershipJoinStatusVlanGroupSourceExcludeIntfOutputKeyType;
using IncludeKey =
   TransitIntfSm::MembershipJoinStatusVlanGroupSourceIncludeIntfOutputKeyType;

static_assert(!std::is_same_v<ExcludeKey, IncludeKey>);

Lidra::IpGenAddr addr(char const* text) {
   return Lidra::IpGenAddr(std::string_view(text));
}

// Some keys of each type, no two of them equal.
template <typename Key>
std::vector<Key> someKeys();

template <>
std::vector<TransitKey> someKeys() {
   return {TransitKey(Lidra::IntfId("Vlan10")), TransitKey(Lidra::IntfId("Vlan11")),
           TransitKey(Lidra::IntfId(", k0Valid: true }")), TransitKey()};
}
template <>
std::vector<RouterKey> someKeys() {
   return {RouterKey(10, Lidra::IntfId("Null0")), RouterKey(11, Lidra::IntfId("Null0")),
           RouterKey(10, Lidra::IntfId("a, k1Valid: false")), RouterKey()};
}
template <typename Key>
std::vector<Key> someGroupSourceKeys() {
   Lidra::IntfId const null0("Null0");
   return {Key(10, addr("0.0.0.0"), addr("0.0.0.0"), null0),
           Key(10, addr("1.0.0.0"), addr("0.0.0.0"), null0),
           Key(10, addr("0.0.0.0"), addr("::"), null0),
           Key(10, addr("0.0.0.0"), addr("0.0.0.0"), Lidra::IntfId("Ethernet1/2")),
           Key(4094, addr("0.0.0.0"), addr("0.0.0.0"), null0),
           Key()};
}
template <>
std::vector<ExcludeKey> someKeys() {
   return someGroupSourceKeys<ExcludeKey>();
}
template <>
std::vector<IncludeKey> someKeys() {
   return someGroupSourceKeys<IncludeKey>();
}

template <typename Key>
class OutputKey : public testing::Test {};

using KeyTypes = testing::Types<TransitKey, RouterKey, ExcludeKey, IncludeKey>;
TYPED_TEST_SUITE(OutputKey, KeyTypes, );

TYPED_TEST(OutputKey, HasNoValidFlagBeforeItIsValidated) {
   TypeParam key;
   std::apply([](auto... flag) { EXPECT_FALSE((flag || ...)); }, key.flags());
   key.validate();
   std::apply([](auto... flag) { EXPECT_TRUE((flag && ...)); }, key.flags());
}

TYPED_TEST(OutputKey, IsEqualToItselfAndItsCopiesOnly) {
   auto const keys = someKeys<TypeParam>();
   for (size_t i = 0; i < keys.size(); ++i) {
      TypeParam const copy = keys[i];
      EXPECT_TRUE(TypeParam::isEq(keys[i], keys[i]));
      EXPECT_TRUE(TypeParam::isEq(keys[i], copy));
      EXPECT_EQ(keys[i] <=> copy, std::strong_ordering::equal);
      EXPECT_EQ(keys[i].hash(7u), copy.hash(7u));
      for (size_t j = 0; j < i; ++j) {
         EXPECT_FALSE(keys[i] == keys[j]);
         EXPECT_NE(keys[i].hash(7u), keys[j].hash(7u));
         EXPECT_NE(keys[i] <=> keys[j], std::strong_ordering::equal);
         EXPECT_EQ((keys[i] < keys[j]), (keys[j] > keys[i]));
      }
   }
}

TYPED_TEST(OutputKey, DiffersByAFlagAndTheFalseOneComesFirst) {
   TypeParam key;
   std::vector<bool*> flags;
   std::apply([&](auto&... flag) { (flags.push_back(&flag), ...); }, key.flags());
   for (bool* const flag : flags) {
      TypeParam const before = key;
      *flag = true;
      EXPECT_FALSE(TypeParam::isEq(before, key));
      EXPECT_EQ(before <=> key, std::strong_ordering::less);
      EXPECT_EQ(key <=> before, std::strong_ordering::greater);
      EXPECT_NE(before.hash(1u), key.hash(1u));
   }
}

TYPED_TEST(OutputKey, TextFormReadsBack) {
   for (auto key : someKeys<TypeParam>()) {
      for (bool const validated : {false, true}) {
         std::ostringstream out;
         out << key;
         EXPECT_EQ(TypeParam::strepToValue(out.str()), key) << out.str();
         EXPECT_EQ(TypeParam(std::string_view(out.str())), key);
         auto const* const type =
            Zin::TypeRegistry::instance().valueType(std::string(TypeParam::kTypeName));
         ASSERT_NE(type, nullptr);
         EXPECT_EQ(type->toText(&key), out.str());
         EXPECT_EQ(type->canonicalText(out.str(), false), out.str());
         if (!validated) {
            key.validate();
         }
      }
   }
}

TYPED_TEST(OutputKey, AnyOtherTextIsRefused) {
   std::ostringstream out;
   out << TypeParam();
   auto const text = out.str();
   for (auto const& bad : {std::string(), text.substr(1), text.substr(0, 20),
                           text + " ", text.substr(0, text.size() - 2)}) {
      EXPECT_EQ(Support::thrownMessage<Zin::TextException>(
                   [&] { return TypeParam::strepToValue(bad); }),
                '"' + bad + "\" is not a " + std::string(TypeParam::kTypeName));
   }
}

TEST(OutputKeyText, NamesTheTypeAndEachFieldWithItsFlag) {
   RouterKey key(10, Lidra::IntfId("Null0"));
   key.k0Valid = true;
   std::ostringstream out;
   out << key;
   EXPECT_EQ(out.str(),
             "Irb::Multicast::Evpn::TransitIntfSm::"
             "MembershipJoinStatusVlanRouterIntfOutputKeyType{ k0: 10, k0Valid: true, "
             "k1: Null0, k1Valid: false }");
   EXPECT_THROW(RouterKey::strepToValue("Irb::Multicast::Evpn::TransitIntfSm::"
                                        "MembershipJoinStatusVlanRouterIntfOutputKeyTyp"
                                        "e{ k0: 0, k0Valid: true, k1: Null0, k1Valid: "
                                        "false }"),
                Zin::RangeException);
}

TEST(OutputKeyDefault, OfAGroupAndSourceIsVlan1) {
   IncludeKey const key;
   EXPECT_EQ(key.k0, 1);
   EXPECT_EQ(key.k1, Lidra::IpGenAddr());
   EXPECT_EQ(key.k2, Lidra::IpGenAddr());
   EXPECT_EQ(key.k3, Lidra::IntfId());
}

TEST(OutputKeyOrder, IsByVlanThenGroupThenSourceThenInterfaceIdentity) {
   Lidra::IntfId const low("Null0");
   Lidra::IntfId const high("Vlan10");
   ASSERT_LT(low.value(), high.value());
   std::vector<IncludeKey> const sorted = {
      {9, addr("9.9.9.9"), addr("9.9.9.9"), high},
      {10, addr("0.0.0.0"), addr("9.9.9.9"), high},
      {10, addr("0.0.0.0"), addr("::"), low},
      {10, addr("0.0.0.1"), addr("0.0.0.0"), low},
      {10, addr("0.0.0.1"), addr("0.0.0.0"), high},
   };
   for (size_t i = 0; i < sorted.size(); ++i) {
      for (size_t j = 0; j < sorted.size(); ++j) {
         EXPECT_EQ(sorted[i] < sorted[j], i < j) << i << ' ' << j;
      }
   }
}

TEST(OutputKeyLayout, FlagsStandTogetherBehindTheLastField) {
   IncludeKey const key;
   auto const* const flags = &key.k0Valid;
   EXPECT_EQ(flags + 1, &key.k1Valid);
   EXPECT_EQ(flags + 2, &key.k2Valid);
   EXPECT_EQ(flags + 3, &key.k3Valid);
   EXPECT_GT(reinterpret_cast<char const*>(flags),
             reinterpret_cast<char const*>(&key.k3));
}

} // namespace
