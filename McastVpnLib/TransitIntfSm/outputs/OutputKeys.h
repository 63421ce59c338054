#pragma once

#include "McastVpnLib/TransitIntfSm/outputs/OutputKeyOps.h"
#include "bridging/VlanId.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"

#include <string_view>
#include <tuple>

// The keys of the dataflow machine's four outputs: plain values. Each field has a flag
// that says whether it holds a value; a key for use has all of them set (validate()).
// The machine offers each type under its own name.
namespace Irb::Multicast::Evpn::OutputKeys {

struct TransitIntfKey : OutputKeyOps::Operations<TransitIntfKey> {
   static constexpr std::string_view kTypeName =
      "Irb::Multicast::Evpn::TransitIntfSm::TransitIntfCollIntfOutputKeyType";

   TransitIntfKey() noexcept = default;
   explicit TransitIntfKey(Lidra::IntfId intfId) noexcept : k0(intfId) {}
   explicit TransitIntfKey(std::string_view text)
      : TransitIntfKey(strepToValue(text)) {}

   auto fields() noexcept { return std::tie(k0); }
   auto fields() const noexcept { return std::tie(k0); }
   auto flags() noexcept { return std::tie(k0Valid); }
   auto flags() const noexcept { return std::tie(k0Valid); }

   Lidra::IntfId k0; // the transit interface
   bool k0Valid = false;
};

struct RouterIntfKey : OutputKeyOps::Operations<RouterIntfKey> {
   static constexpr std::string_view kTypeName =
      "Irb::Multicast::Evpn::TransitIntfSm::"
      "MembershipJoinStatusVlanRouterIntfOutputKeyType";

   RouterIntfKey() noexcept = default;
   RouterIntfKey(Bridging::VlanId vlanId, Lidra::IntfId intfId) noexcept
      : k0(vlanId), k1(intfId) {}
   explicit RouterIntfKey(std::string_view text) : RouterIntfKey(strepToValue(text)) {}

   auto fields() noexcept { return std::tie(k0, k1); }
   auto fields() const noexcept { return std::tie(k0, k1); }
   auto flags() noexcept { return std::tie(k0Valid, k1Valid); }
   auto flags() const noexcept { return std::tie(k0Valid, k1Valid); }

   Bridging::VlanId k0;
   Lidra::IntfId k1;
   bool k0Valid = false;
   bool k1Valid = false;
};

// Name tells the two outputs of this shape apart: their keys are not the same type.
template <typename Name>
struct GroupSourceKey : OutputKeyOps::Operations<GroupSourceKey<Name>> {
   static constexpr std::string_view kTypeName = Name::kTypeName;

   GroupSourceKey() noexcept = default;
   GroupSourceKey(Bridging::VlanId vlanId, Lidra::IpGenAddr const& group,
                  Lidra::IpGenAddr const& source, Lidra::IntfId intfId) noexcept
      : k0(vlanId), k1(group), k2(source), k3(intfId) {}
   explicit GroupSourceKey(std::string_view text)
      : GroupSourceKey(GroupSourceKey::strepToValue(text)) {}

   auto fields() noexcept { return std::tie(k0, k1, k2, k3); }
   auto fields() const noexcept { return std::tie(k0, k1, k2, k3); }
   auto flags() noexcept { return std::tie(k0Valid, k1Valid, k2Valid, k3Valid); }
   auto flags() const noexcept { return std::tie(k0Valid, k1Valid, k2Valid, k3Valid); }

   Bridging::VlanId k0;
   Lidra::IpGenAddr k1; // the group
   Lidra::IpGenAddr k2; // the source
   Lidra::IntfId k3;
   bool k0Valid = false;
   bool k1Valid = false;
   bool k2Valid = false;
   bool k3Valid = false;
};

struct ExcludeIntfName {
   static constexpr std::string_view kTypeName =
      "Irb::Multicast::Evpn::TransitIntfSm::"
      "MembershipJoinStatusVlanGroupSourceExcludeIntfOutputKeyType";
};
struct IncludeIntfName {
   static constexpr std::string_view kTypeName =
      "Irb::Multicast::Evpn::TransitIntfSm::"
      "MembershipJoinStatusVlanGroupSourceIncludeIntfOutputKeyType";
};
using ExcludeIntfKey = GroupSourceKey<ExcludeIntfName>;
using IncludeIntfKey = GroupSourceKey<IncludeIntfName>;

// A valid key of what is given.
template <typename Key, typename... Fields>
Key validKey(Fields const&... fields) {
   Key key(fields...);
   key.validate();
   return key;
}

} // namespace Irb::Multicast::Evpn::OutputKeys

template <>
struct Zin::ValueTraits<Irb::Multicast::Evpn::OutputKeys::TransitIntfKey>
   : Irb::Multicast::Evpn::OutputKeys::TransitIntfKey::Traits {};
template <>
struct Zin::ValueTraits<Irb::Multicast::Evpn::OutputKeys::RouterIntfKey>
   : Irb::Multicast::Evpn::OutputKeys::RouterIntfKey::Traits {};
template <typename Name>
struct Zin::ValueTraits<Irb::Multicast::Evpn::OutputKeys::GroupSourceKey<Name>>
   : Irb::Multicast::Evpn::OutputKeys::GroupSourceKey<Name>::Traits {};
