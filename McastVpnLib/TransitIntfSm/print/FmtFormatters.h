#pragma once

#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"

#include <fmt/format.h>
#include <string>
#include <string_view>

// The value types in "{}" places of trace formats: each as its usual text.

template <>
struct fmt::formatter<Bridging::VlanId> : fmt::formatter<uint16_t> {
   auto format(Bridging::VlanId vlanId, fmt::format_context& context) const {
      return fmt::formatter<uint16_t>::format(vlanId.value(), context);
   }
};

template <>
struct fmt::formatter<Lidra::IpGenAddr> : fmt::formatter<std::string> {
   auto format(Lidra::IpGenAddr const& addr, fmt::format_context& context) const {
      return fmt::formatter<std::string>::format(addr.stringValue(), context);
   }
};

template <>
struct fmt::formatter<Lidra::IntfId> : fmt::formatter<std::string> {
   auto format(Lidra::IntfId intfId, fmt::format_context& context) const {
      return fmt::formatter<std::string>::format(intfId.stringValue(), context);
   }
};

template <>
struct fmt::formatter<L3::VrfName> : fmt::formatter<std::string_view> {
   auto format(L3::VrfName const& vrf, fmt::format_context& context) const {
      return fmt::formatter<std::string_view>::format(vrf.view(), context);
   }
};
