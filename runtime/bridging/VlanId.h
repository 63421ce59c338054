#pragma once

#include "pelk/Export.h"
#include "zin/ValueTraits.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace Bridging {

// A VLAN number, 1 to 4094. Making one from anything else raises a RangeException with
// "Bridging::VlanId::value < 1 or > 4094 not allowed". The default is VLAN 1.
class PELK_EXPORT VlanId {
 public:
   static constexpr uint16_t kMin = 1;
   static constexpr uint16_t kMax = 4094;

   constexpr VlanId() noexcept = default;
   constexpr VlanId(uint16_t value) : value_(value) {
      if (value < kMin || value > kMax) {
         outOfRange();
      }
   }
   // From decimal text; TextException if it is none, RangeException as above.
   explicit VlanId(std::string_view text);

   constexpr uint16_t value() const noexcept { return value_; }
   constexpr operator uint16_t() const noexcept { return value_; }

 private:
   [[noreturn]] static void outOfRange();

   uint16_t value_ = kMin;
};

// A VLAN number, or 0 for none. Holds any 16-bit value: whether a number is a VLAN is
// asked when a VlanId is made of it.
class PELK_EXPORT VlanIdOrNone {
 public:
   constexpr VlanIdOrNone() noexcept = default;
   constexpr VlanIdOrNone(uint16_t value) noexcept : value_(value) {}
   // From decimal text; TextException if it is none, RangeException above 16 bits.
   explicit VlanIdOrNone(std::string_view text);
   constexpr VlanIdOrNone(VlanId vlanId) noexcept : value_(vlanId.value()) {}

   constexpr uint16_t value() const noexcept { return value_; }
   // Whether there is no VLAN, which is 0.
   constexpr bool isNone() const noexcept { return value_ == 0; }

   constexpr bool operator==(VlanIdOrNone const&) const noexcept = default;
   constexpr auto operator<=>(VlanIdOrNone const&) const noexcept = default;

 private:
   uint16_t value_ = 0;
};

// Both print as a decimal number.
PELK_EXPORT std::ostream& operator<<(std::ostream& out, VlanId vlanId);
PELK_EXPORT std::ostream& operator<<(std::ostream& out, VlanIdOrNone vlanId);

} // namespace Bridging

template <>
struct Zin::ValueTraits<Bridging::VlanId> {
   static constexpr std::string_view name = "Bridging::VlanId";
   static constexpr ValueForm form = ValueForm::number;
   static constexpr std::string_view allowed = "a VLAN number from 1 to 4094";
   static std::string toText(Bridging::VlanId const& value) {
      return std::to_string(value.value());
   }
   static Bridging::VlanId fromText(std::string_view text) {
      return Bridging::VlanId(text);
   }
};

template <>
struct Zin::ValueTraits<Bridging::VlanIdOrNone> {
   static constexpr std::string_view name = "Bridging::VlanIdOrNone";
   static constexpr ValueForm form = ValueForm::number;
   static constexpr std::string_view allowed = "a VLAN number from 1 to 4094";
   static std::string toText(Bridging::VlanIdOrNone const& value) {
      return std::to_string(value.value());
   }
   static Bridging::VlanIdOrNone fromText(std::string_view text) {
      return Bridging::VlanIdOrNone(text);
   }
   static bool isPlausible(Bridging::VlanIdOrNone const& value) {
      return value.value() >= Bridging::VlanId::kMin &&
             value.value() <= Bridging::VlanId::kMax;
   }
};
