#pragma once

#include "pelk/Export.h"
#include "zin/ValueTraits.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Lidra {

// An IPv4 address; the zero address unless said otherwise.
class PELK_EXPORT IpAddr {
 public:
   constexpr IpAddr() noexcept = default;
   // The address as one number, first octet highest.
   constexpr explicit IpAddr(uint32_t value) noexcept : value_(value) {}
   // From dotted decimal text; TextException if it is not that.
   explicit IpAddr(std::string_view text);

   constexpr uint32_t value() const noexcept { return value_; }
   std::string stringValue() const;

   constexpr bool operator==(IpAddr const&) const noexcept = default;
   constexpr auto operator<=>(IpAddr const&) const noexcept = default;

 private:
   uint32_t value_ = 0;
};

PELK_EXPORT std::ostream& operator<<(std::ostream& out, IpAddr const& addr);

} // namespace Lidra

template <>
struct Zin::ValueTraits<Lidra::IpAddr> {
   static constexpr std::string_view name = "Lidra::IpAddr";
   static constexpr ValueForm form = ValueForm::text;
   static constexpr std::string_view allowed = "an IPv4 address";
   static std::string toText(Lidra::IpAddr const& value) { return value.stringValue(); }
   static Lidra::IpAddr fromText(std::string_view text) { return Lidra::IpAddr(text); }
};
