#pragma once

#include "lidra/AddressFamily.h"
#include "lidra/IpAddr.h"
#include "pelk/Export.h"
#include "zin/Hash.h"
#include "zin/ValueTraits.h"

#include <array>
#include <bit>
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Lidra {

// An IP address of either family: 16 bytes in network order, of which an IPv4 address
// uses the first four, and the family. The default, empty address is the IPv4 zero
// address.
class PELK_EXPORT IpGenAddr {
 public:
   constexpr IpGenAddr() noexcept = default;
   // The zero address of the family.
   constexpr explicit IpGenAddr(AddressFamily af) noexcept : af_(af) {}
   constexpr IpGenAddr(IpAddr const& addr) noexcept
      : bytes_{static_cast<uint8_t>(addr.value() >> 24),
               static_cast<uint8_t>(addr.value() >> 16),
               static_cast<uint8_t>(addr.value() >> 8),
               static_cast<uint8_t>(addr.value())} {}
   // From the text of an address of either family; TextException if it is neither.
   explicit IpGenAddr(std::string_view text);

   // The wildcard of the family, which stands for any group or any source.
   static constexpr IpGenAddr ipGenAddrZero(AddressFamily af) noexcept {
      return IpGenAddr(af);
   }

   // The family of the address.
   constexpr AddressFamily af() const noexcept { return af_; }
   constexpr std::array<uint8_t, 16> const& bytes() const noexcept { return bytes_; }
   uint32_t hash(Zin::HashSeed const& seed) const noexcept {
      return Zin::hashBytes(seed, this, sizeof *this);
   }
   uint32_t hash(unsigned seed) const noexcept { return hash(Zin::HashSeed(seed)); }
   std::string stringValue() const;

   static bool isEq(IpGenAddr const& a, IpGenAddr const& b) noexcept { return a == b; }
   constexpr bool operator==(IpGenAddr const& other) const noexcept {
      // As two integers, which the compiler would not do with an array of bytes.
      using Words = std::array<uint64_t, 2>;
      return std::bit_cast<Words>(bytes_) == std::bit_cast<Words>(other.bytes_) &&
             af_ == other.af_;
   }
   // IPv4 before IPv6; within a family by the bytes.
   constexpr std::strong_ordering operator<=>(IpGenAddr const& other) const noexcept {
      auto const byFamily = af_ <=> other.af_;
      return byFamily != 0 ? byFamily : bytes_ <=> other.bytes_;
   }

   static std::string valueToStrep(IpGenAddr const& addr) { return addr.stringValue(); }
   static IpGenAddr sequenceToValue(std::string_view text) { return IpGenAddr(text); }

 private:
   std::array<uint8_t, 16> bytes_{};
   AddressFamily af_ = AddressFamily::ipv4;
};

PELK_EXPORT std::ostream& operator<<(std::ostream& out, IpGenAddr const& addr);

} // namespace Lidra

template <>
struct Zin::ValueTraits<Lidra::IpGenAddr> {
   static constexpr std::string_view name = "Lidra::IpGenAddr";
   static constexpr ValueForm form = ValueForm::text;
   static constexpr std::string_view allowed = "an IPv4 or IPv6 address";
   static std::string toText(Lidra::IpGenAddr const& value) {
      return value.stringValue();
   }
   static Lidra::IpGenAddr fromText(std::string_view text) {
      return Lidra::IpGenAddr(text);
   }
};
