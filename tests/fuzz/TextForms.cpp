#include "bridging/VlanId.h"
#include "fuzz/ClearError.h"
#include "fuzz/Target.h"
#include "l3/VrfName.h"
#include "lidra/AddressFamily.h"
#include "lidra/IntfId.h"
#include "lidra/IpAddr.h"
#include "lidra/IpGenAddr.h"
#include "mlag/MlagState.h"
#include "pelk/Printable.h"
#include "pelk/String.h"
#include "pelk/TraceLevels.h"
#include "zin/HashKey.h"
#include "zin/NumberTraits.h"
#include "zin/RangeException.h"
#include "zin/TypeTable.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

// The text forms of values and keys. The first byte chooses the type; of the rest the
// first line is one text, what follows another.
namespace {

using Fuzz::require;

std::string inQuotes(std::string_view text) {
   return '"' + Pelk::printable(text) + '"';
}

// The number that a canonical decimal text stands for, digit by digit.
std::optional<uint64_t> numberOf(std::string_view text, uint64_t most) {
   if (text.empty() || (text.size() > 1 && text.front() == '0')) {
      return std::nullopt;
   }
   uint64_t value = 0;
   for (char const c : text) {
      if (c < '0' || c > '9') {
         return std::nullopt;
      }
      value = 10 * value + static_cast<uint64_t>(c - '0');
      if (value > most) {
         return std::nullopt;
      }
   }
   return value;
}

std::optional<uint32_t> ipv4Of(std::string_view text) {
   uint32_t value = 0;
   for (int octet = 0; octet < 4; ++octet) {
      auto const end = octet == 3 ? text.size() : text.find('.');
      if (end == std::string_view::npos) {
         return std::nullopt;
      }
      auto const number = numberOf(text.substr(0, end), 255);
      if (!number) {
         return std::nullopt;
      }
      value = value << 8 | static_cast<uint32_t>(*number);
      text.remove_prefix(std::min(text.size(), end + 1));
   }
   return value;
}

// Whether the type must take the text; none where nothing simple decides that.
template <typename T>
std::optional<bool> mustTake(std::string_view text) {
   if constexpr (std::same_as<T, bool>) {
      return text == "true" || text == "false";
   } else if constexpr (std::same_as<T, uint16_t> ||
                        std::same_as<T, Bridging::VlanIdOrNone>) {
      return numberOf(text, 0xffff).has_value();
   } else if constexpr (std::same_as<T, uint32_t>) {
      return numberOf(text, 0xffffffff).has_value();
   } else if constexpr (std::same_as<T, Bridging::VlanId>) {
      return numberOf(text, 4094).value_or(0) != 0;
   } else if constexpr (std::same_as<T, L3::VrfName>) {
      return text.size() <= 100;
   } else if constexpr (std::same_as<T, Lidra::AddressFamily>) {
      return text == "ipv4" || text == "ipv6";
   } else if constexpr (std::same_as<T, Lidra::IntfId> || std::same_as<T, Zin::Unit>) {
      return true;
   } else if constexpr (std::same_as<T, Lidra::IpAddr>) {
      return ipv4Of(text).has_value();
   } else if constexpr (std::same_as<T, Lidra::IpGenAddr>) {
      return text.find(':') == std::string_view::npos
                ? std::optional(ipv4Of(text).has_value())
                : std::nullopt;
   } else {
      constexpr std::array<std::string_view, 5> kNames = {
         "disabled", "inactive", "connecting", "active", "withheld"};
      return numberOf(text, 0xffffffff).has_value() ||
             std::ranges::find(kNames, text) != kNames.end();
   }
}

template <typename T>
std::optional<T> parsed(std::string_view text) {
   std::optional<T> value;
   try {
      value = Zin::ValueTraits<T>::fromText(text);
   } catch (Zin::RangeException const& error) {
      require(*error.what() != '\0', "an error says something");
   } catch (Zin::TextException const& error) {
      // Of what() a caller sees no more than there is before a zero.
      auto const visible = text.substr(0, text.find('\0'));
      require(std::string(error.what()).find(visible) != std::string::npos,
              [&] { return "an error quotes the text " + inQuotes(text); });
   }
   if (auto const must = mustTake<T>(text)) {
      require(*must == value.has_value(), [&] {
         return "takes what is one and nothing else: " +
                std::string(Zin::ValueTraits<T>::name) + " of " + inQuotes(text);
      });
   }
   return value;
}

// The same through the table that the generic interface uses.
template <typename T>
void viaTable(std::string_view text, std::optional<T> const& value) {
   auto const* const type =
      Zin::TypeRegistry::instance().valueType(Zin::ValueTraits<T>::name);
   require(type != nullptr, "the type is registered");
   try {
      auto const canonical = type->canonicalText(text, false);
      require(value.has_value(), "the table takes nothing that the type does not");
      require(canonical == type->toText(&*value), "the table prints as the type does");
      require(type->canonicalText(canonical, false) == canonical,
              "the canonical text of a canonical text is itself");
   } catch (std::logic_error const&) {
      require(!value.has_value(), "the table takes what the type does");
   }
   try {
      auto const plausible = type->canonicalText(text, true);
      require(value.has_value() && plausible == type->toText(&*value),
              "what is plausible means the same");
   } catch (std::logic_error const&) {
      // Which need not be plausible.
   }
}

template <typename T>
std::string printed(T const& value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

// One value: its text leads back to it.
template <typename T>
void back(T const& value) {
   auto const text = Zin::ValueTraits<T>::toText(value);
   auto const again = parsed<T>(text);
   require(again.has_value(),
           [&] { return "a value's text can be read: " + inQuotes(text); });
   require(*again == value,
           [&] { return "a value's text means the value: " + inQuotes(text); });
   require(Zin::ValueTraits<T>::toText(*again) == text, "a value has one text");
   if constexpr (std::same_as<T, Mlag::MlagState>) {
      require(Mlag::mlagStateFromText(printed(value)) == value,
              "what is printed can be read");
   } else if constexpr (!std::same_as<T, Zin::Unit> && !std::same_as<T, bool>) {
      require(printed(value) == text, "is printed as its text");
   }
}

// Two values are equal if and only if their texts are; keys then hash alike, and are
// ordered else.
template <typename T>
void compare(T const& one, T const& other, uint32_t seed) {
   bool const areEqual = one == other;
   require(areEqual ==
              (Zin::ValueTraits<T>::toText(one) == Zin::ValueTraits<T>::toText(other)),
           "values are equal if their texts are");
   if constexpr (Zin::HashableKey<T>) {
      Zin::HashSeed const hashSeed(seed);
      require(!areEqual || Zin::hashKey(hashSeed, one) == Zin::hashKey(hashSeed, other),
              "equal keys hash alike");
      require((one < other) + (other < one) == (areEqual ? 0 : 1),
              "of two keys one is below, unless they are equal");
   }
   if constexpr (requires { std::hash<T>()(one); }) {
      require(!areEqual || std::hash<T>()(one) == std::hash<T>()(other),
              "equal values hash alike");
   }
}

template <typename T>
void type(std::string_view one, std::string_view other) {
   auto const first = parsed<T>(one);
   auto const second = parsed<T>(other);
   viaTable<T>(one, first);
   if (first) {
      back(*first);
      compare(*first, *first, static_cast<uint32_t>(other.size()));
   }
   if (first && second) {
      compare(*first, *second, static_cast<uint32_t>(one.size()));
   }
}

// Texts that any bytes are.
void strings(std::string_view one, std::string_view other) {
   Pelk::String const first(one);
   Pelk::String const second(other);
   require(first.view() == one && printed(first) == one, "a string keeps its bytes");
   require((first == second) == (one == other), "strings are equal as their bytes are");
   require((first < second) == (one < other), "strings are ordered as their bytes are");
   require(one != other ||
              std::hash<Pelk::String>()(first) == std::hash<Pelk::String>()(second),
           "equal strings hash alike");
   Pelk::String copy(first);
   copy = second;
   Pelk::String const moved(std::move(copy));
   require(moved == second && first.view() == one, "a copy is a value of its own");
   auto const line = Pelk::printable(one);
   require(std::ranges::none_of(line, [](unsigned char c) { return c < ' '; }),
           "what is printable stays on its line");
}

void traceLevels(std::string_view one, std::string_view) {
   try {
      auto const levels = Pelk::TraceLevels::fromText(one);
      require(levels.word() != 0, "a text of trace levels names one");
      require(Pelk::TraceLevels::fromText(levels.text()) == levels,
              "the text of trace levels means them");
      require(levels.text().size() <= one.size() || one == "all",
              "the text of trace levels is the shortest");
      for (uint16_t level = 0; level <= Pelk::TraceLevels::kMax; ++level) {
         require(levels.has(level) == std::bitset<16>(levels.word())[level],
                 "a level is a bit");
      }
   } catch (std::invalid_argument const& error) {
      require(std::string(error.what()).find("; allowed are ") != std::string::npos,
              "an error says what is allowed");
   }
}

// Values that no text made.
void numbers(std::string_view one, std::string_view other) {
   Fuzz::Bytes bytes(reinterpret_cast<uint8_t const*>(one.data()), one.size());
   auto const a = static_cast<uint32_t>(bytes.number(4));
   auto const b = static_cast<uint32_t>(bytes.number(4));
   back(a);
   back(static_cast<uint16_t>(a));
   back(Bridging::VlanIdOrNone(static_cast<uint16_t>(a)));
   if (uint32_t const vlan = a % 0x1000; vlan != 0 && vlan != 0xfff) {
      back(Bridging::VlanId(static_cast<uint16_t>(vlan)));
   }
   back(static_cast<Mlag::MlagState>(a));
   back(Lidra::IpAddr(a));
   compare(Lidra::IpAddr(a), Lidra::IpAddr(b), b);
   require(Lidra::IpAddr(std::string_view(Lidra::IpAddr(a).stringValue())).value() == a,
           "an address is its number");
   Lidra::IpGenAddr const inBoth{Lidra::IpAddr(a)};
   back(inBoth);
   require(inBoth.stringValue() == Lidra::IpAddr(a).stringValue(),
           "an IPv4 address has one text");
   compare(inBoth, Lidra::IpGenAddr{Lidra::IpAddr(b)}, b);
   auto const intf = Lidra::VlanIntfId::vlanIdToIntfId(static_cast<uint16_t>(a));
   back(intf);
   require(intf.stringValue() == "Vlan" + std::to_string(static_cast<uint16_t>(a)),
           "a VLAN's interface has its number");

   // Eight groups of an IPv6 address, written out.
   Fuzz::Bytes groups(reinterpret_cast<uint8_t const*>(other.data()), other.size());
   std::array<uint8_t, 16> octets{};
   std::ostringstream text;
   text << std::hex;
   for (size_t i = 0; i < octets.size(); i += 2) {
      octets[i] = groups.byte();
      octets[i + 1] = groups.byte();
      text << (i == 0 ? "" : ":") << (octets[i] << 8 | octets[i + 1]);
   }
   Lidra::IpGenAddr const address(std::string_view(text.view()));
   require(address.bytes() == octets && address.af() == Lidra::AddressFamily::ipv6,
           "an address is its octets");
   back(address);
   compare(address, inBoth, a);
}

using Function = void (*)(std::string_view one, std::string_view other);
constexpr std::array<Function, 15> kFunctions = {&type<bool>,
                                                 &type<uint16_t>,
                                                 &type<uint32_t>,
                                                 &type<Zin::Unit>,
                                                 &type<Bridging::VlanId>,
                                                 &type<Bridging::VlanIdOrNone>,
                                                 &type<L3::VrfName>,
                                                 &type<Lidra::AddressFamily>,
                                                 &type<Lidra::IntfId>,
                                                 &type<Lidra::IpAddr>,
                                                 &type<Lidra::IpGenAddr>,
                                                 &type<Mlag::MlagState>,
                                                 &strings,
                                                 &traceLevels,
                                                 &numbers};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   Fuzz::Bytes bytes(data, size);
   auto const* const function = &kFunctions.at(bytes.below(kFunctions.size()));
   auto const one = bytes.line();
   (*function)(one, bytes.rest());
   return 0;
}
