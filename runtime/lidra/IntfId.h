#pragma once

#include "pelk/Export.h"
#include "pelk/String.h"
#include "zin/ValueTraits.h"

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Lidra {

// The identity of an interface: a 64-bit value made from its name ("Vlan10", "Vxlan1",
// "Null0", any other), which the name can be read back from. The default is the
// identity of the empty name.
//
// The top byte says how the name is kept: in the value itself (a VLAN interface as its
// number, a name of up to seven bytes as its bytes), or in a table of names that lives
// as long as the process. So equal names are equal values, and the values of the
// interfaces that this system makes are the same in every run.
class PELK_EXPORT IntfId {
 public:
   constexpr IntfId() noexcept = default;
   explicit IntfId(Pelk::String const& name) : IntfId(name.view()) {}
   explicit IntfId(std::string_view name);
   explicit IntfId(char const* name) : IntfId(std::string_view(name)) {}

   constexpr uint64_t value() const noexcept { return value_; }
   // The name.
   std::string stringValue() const;
   // The name's first two letters and what follows its letters: "Vl10" for "Vlan10".
   std::string shortName() const;
   uint32_t hash(uint32_t seed = 0) const noexcept;

   static bool isEq(IntfId a, IntfId b) noexcept { return a == b; }
   constexpr bool operator==(IntfId const&) const noexcept = default;
   // By the value, unsigned; it is not the order of the names.
   constexpr auto operator<=>(IntfId const&) const noexcept = default;

   static std::string valueToStrep(IntfId intf) { return intf.stringValue(); }
   static IntfId sequenceToValue(std::string_view text) { return IntfId(text); }

 private:
   friend struct VlanIntfId;

   constexpr explicit IntfId(uint64_t value) noexcept : value_(value) {}

   uint64_t value_ = 0;
};

PELK_EXPORT std::ostream& operator<<(std::ostream& out, IntfId intf);

// Interfaces by the numbers of their VLANs.
struct PELK_EXPORT VlanIntfId {
   // The routed interface of a VLAN number: "Vlan10" for 10.
   static IntfId vlanIdToIntfId(unsigned short vlanId) noexcept;
};

} // namespace Lidra

template <>
struct Zin::ValueTraits<Lidra::IntfId> {
   static constexpr std::string_view name = "Lidra::IntfId";
   static constexpr ValueForm form = ValueForm::text;
   static constexpr std::string_view allowed =
      "a non-empty interface name, such as Vlan10, Vxlan1 or Null0";
   static std::string toText(Lidra::IntfId const& value) { return value.stringValue(); }
   static Lidra::IntfId fromText(std::string_view text) { return Lidra::IntfId(text); }
   static bool isPlausible(Lidra::IntfId const& value) {
      return value != Lidra::IntfId();
   }
};
