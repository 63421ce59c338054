#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ios>
#include <memory>
#include <ostream>
#include <string_view>
#include <type_traits>

// How an argument of a ring record is kept, as raw bytes, and printed, when it is
// read. Most types need nothing: see the forms below. A type that wants another form
// specialises RingForm beside its own definition, with either
//
//    using Raw = ...;                               trivially copyable
//    static Raw raw(T const& value) noexcept;
//    static void print(std::ostream& out, Raw const& raw);
//
// or, for a text, static std::string_view text(T const& value) noexcept.
namespace Fennlog {

// The longest text that a record keeps; a longer one is cut, and prints with "..."
// behind it.
inline constexpr size_t kMaxText = 127;

namespace Impl {

// Prints as Dualo's text does too: small integers as numbers, bool as a word.
template <typename T>
void printPlain(std::ostream& out, T const& value) {
   if constexpr (std::same_as<T, bool>) {
      out << (value ? "true" : "false");
   } else if constexpr (std::same_as<T, int8_t> || std::same_as<T, uint8_t>) {
      out << static_cast<int>(value);
   } else {
      out << value;
   }
}

template <typename T>
concept Streamed = requires(std::ostream& out, T const& value) { out << value; };

template <typename T>
concept Texty =
   std::convertible_to<T const&, std::string_view> || requires(T const& value) {
      { value.view() } -> std::same_as<std::string_view>;
   };

template <typename T>
concept ShortNamed = requires(T const& value) {
   { value.shortName() } -> std::convertible_to<std::string_view>;
};

template <typename T>
concept RawBytes = std::is_trivially_copyable_v<T> && sizeof(T) <= 32 &&
                   !std::is_pointer_v<T> && !Texty<T>;

} // namespace Impl

// No form: the type must be given one.
template <typename T>
struct RingForm;

// Numbers, enumerations and small plain values: their own bytes, printed by their
// stream output; an interface id, and whatever else has a short name, by that.
template <Impl::RawBytes T>
   requires Impl::Streamed<T> || Impl::ShortNamed<T>
struct RingForm<T> {
   using Raw = std::array<std::byte, sizeof(T)>;

   static Raw raw(T const& value) noexcept { return std::bit_cast<Raw>(value); }
   static void print(std::ostream& out, Raw const& raw) {
      T const value = std::bit_cast<T>(raw);
      if constexpr (Impl::ShortNamed<T>) {
         out << value.shortName();
      } else {
         Impl::printPlain(out, value);
      }
   }
};

// An enumeration without a stream output prints as its number.
template <Impl::RawBytes T>
   requires std::is_enum_v<T> && (!Impl::Streamed<T>)
struct RingForm<T> : RingForm<std::underlying_type_t<T>> {
   // The form of the number that stands for it.
   using Number = RingForm<std::underlying_type_t<T>>;
   // The bytes of that number.
   static typename Number::Raw raw(T const& value) noexcept {
      return Number::raw(static_cast<std::underlying_type_t<T>>(value));
   }
};

// Texts and names: the bytes, up to kMaxText of them. A null char pointer is empty.
template <Impl::Texty T>
struct RingForm<T> {
   static std::string_view text(T const& value) noexcept {
      if constexpr (std::convertible_to<T const&, char const*>) {
         char const* const start = value;
         return start == nullptr ? std::string_view() : std::string_view(start);
      } else if constexpr (std::convertible_to<T const&, std::string_view>) {
         return value;
      } else {
         return value.view();
      }
   }
};

template <typename T>
concept HasTextForm = requires(T const& value) {
   { RingForm<T>::text(value) } -> std::same_as<std::string_view>;
};

template <typename T>
concept HasRawForm = requires(T const& value) {
   { RingForm<T>::raw(value) } -> std::same_as<typename RingForm<T>::Raw>;
} && std::is_trivially_copyable_v<typename RingForm<T>::Raw>;

// What a ring record can take as an argument.
template <typename T>
concept RingArgument = HasTextForm<T> || HasRawForm<T>;

namespace Impl {

// Copies kMove to twice as many bytes by two moves of a fixed size, which overlap in
// the middle.
template <size_t kMove>
inline void copyEnds(std::byte* to, char const* from, size_t size) noexcept {
   std::array<std::byte, kMove> head;
   std::array<std::byte, kMove> tail;
   std::memcpy(head.data(), from, kMove);
   std::memcpy(tail.data(), from + size - kMove, kMove);
   std::memcpy(to, head.data(), kMove);
   std::memcpy(to + size - kMove, tail.data(), kMove);
}

// memcpy without the call, which would cost more than the copy of a name does.
inline void copyShort(std::byte* to, char const* from, size_t size) noexcept {
   if (size > 32) {
      std::memcpy(to, from, size);
   } else if (size >= 16) {
      copyEnds<16>(to, from, size);
   } else if (size >= 8) {
      copyEnds<8>(to, from, size);
   } else if (size >= 4) {
      copyEnds<4>(to, from, size);
   } else {
      for (size_t i = 0; i < size; ++i) {
         to[i] = static_cast<std::byte>(from[i]);
      }
   }
}

// One argument's bytes in a record. A text is its kept length, with the top bit set if
// it was cut, and its bytes.
template <RingArgument T>
struct Argument {
   static constexpr uint8_t kCut = 0x80;

   static constexpr size_t maxSize() noexcept {
      if constexpr (HasTextForm<T>) {
         return 1 + kMaxText;
      } else {
         return sizeof(typename RingForm<T>::Raw);
      }
   }

   static size_t size(T const& value) noexcept {
      if constexpr (HasTextForm<T>) {
         return 1 + std::min(RingForm<T>::text(value).size(), kMaxText);
      } else {
         return maxSize();
      }
   }

   static std::byte* put(std::byte* to, T const& value) noexcept {
      if constexpr (HasTextForm<T>) {
         auto const text = RingForm<T>::text(value);
         size_t const kept = std::min(text.size(), kMaxText);
         *to++ = static_cast<std::byte>(kept | (text.size() > kMaxText ? kCut : 0));
         copyShort(to, std::to_address(text.begin()), kept);
         return to + kept;
      } else {
         auto const raw = RingForm<T>::raw(value);
         std::memcpy(to, &raw, sizeof raw);
         return to + sizeof raw;
      }
   }

   // Prints what put() wrote and returns where the next argument begins.
   static std::byte const* print(std::ostream& out, std::byte const* from) {
      if constexpr (HasTextForm<T>) {
         auto const length = static_cast<uint8_t>(*from++);
         size_t const kept = length & ~kCut;
         out << std::string_view(reinterpret_cast<char const*>(from), kept);
         out << ((length & kCut) != 0 ? "..." : "");
         return from + kept;
      } else {
         typename RingForm<T>::Raw raw;
         std::memcpy(&raw, from, sizeof raw);
         RingForm<T>::print(out, raw);
         return from + sizeof raw;
      }
   }
};

} // namespace Impl
} // namespace Fennlog
