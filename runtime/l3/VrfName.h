#pragma once

#include "pelk/Export.h"
#include "pelk/String.h"
#include "zin/ValueTraits.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string_view>

namespace L3 {

// The name of a VRF, at most 100 bytes. A longer one raises a RangeException with
// "Zin::String::bytes > maxLength() not allowed".
class PELK_EXPORT VrfName {
 public:
   // The most bytes that a name has.
   static constexpr size_t maxLength() noexcept { return 100; }

   VrfName() noexcept = default;
   VrfName(std::string_view name) : name_(checked(name)) {}
   VrfName(char const* name) : VrfName(std::string_view(name)) {}
   VrfName(Pelk::String name) : name_(std::move(name)) { checked(name_.view()); }

   // Whether it is the VRF that every switch has.
   bool isDefault() const noexcept { return view() == "default"; }
   char const* data() const noexcept { return name_.data(); }
   size_t size() const noexcept { return name_.size(); }
   std::string_view view() const noexcept { return name_.view(); }

   bool operator==(VrfName const&) const noexcept = default;
   // "default" before every other name, else byte-wise.
   bool operator<(VrfName const& other) const noexcept {
      if (other.isDefault()) {
         return false;
      }
      return isDefault() || view() < other.view();
   }

 private:
   static std::string_view checked(std::string_view name) {
      if (name.size() > maxLength()) {
         tooLong();
      }
      return name;
   }
   [[noreturn]] static void tooLong();

   Pelk::String name_;
};

PELK_EXPORT std::ostream& operator<<(std::ostream& out, VrfName const& vrf);

} // namespace L3

template <>
struct std::hash<L3::VrfName> {
   std::size_t operator()(L3::VrfName const& vrf) const noexcept {
      return std::hash<std::string_view>{}(vrf.view());
   }
};

template <>
struct Zin::ValueTraits<L3::VrfName> {
   static constexpr std::string_view name = "L3::VrfName";
   static constexpr ValueForm form = ValueForm::text;
   static constexpr std::string_view allowed = "a VRF name of at most 100 bytes";
   static std::string toText(L3::VrfName const& value) {
      return std::string(value.view());
   }
   static L3::VrfName fromText(std::string_view text) { return L3::VrfName(text); }
};
