#pragma once

#include "zin/Hash.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Pelk {
template <typename T>
class Ptr;
class String;
} // namespace Pelk

namespace L3 {
class VrfName;
}

// What a collection asks of its keys and values.
namespace Zin {

namespace Impl {

template <typename Key>
concept IntegerKey = std::integral<Key> || std::is_enum_v<Key>;

// A class around one unsigned integer, as the ids are.
template <typename Key>
concept WrappedIntegerKey =
   std::is_trivially_copyable_v<Key> && requires(Key const& k) {
      { k.value() } noexcept -> std::unsigned_integral;
      requires sizeof(k.value()) == sizeof(Key);
   };

template <typename Key>
concept SelfHashingKey = requires(Key const& k, HashSeed const& seed) {
   { k.hash(seed) } -> std::same_as<uint32_t>;
};

template <typename Key>
concept BytesKey = requires(Key const& k) {
   { k.data() } -> std::convertible_to<void const*>;
   { k.size() } -> std::convertible_to<size_t>;
   requires sizeof(*k.data()) == 1;
};

} // namespace Impl

// A key is an integer, an enumerator, a class around an unsigned integer that value()
// returns, a class with `uint32_t hash(uint32_t seed) const` (or of a HashSeed, which
// saves the expansion), or a text. Keys are ordered and moved without exceptions.
template <typename Key>
concept HashableKey =
   (Impl::IntegerKey<Key> || Impl::WrappedIntegerKey<Key> ||
    Impl::SelfHashingKey<Key> || Impl::BytesKey<Key>) &&
   std::is_nothrow_move_constructible_v<Key> && requires(Key const& a, Key const& b) {
      { a == b } -> std::convertible_to<bool>;
      { a < b } -> std::convertible_to<bool>;
   };

// The hash of one key in the upper half; what the lower half holds means nothing. For
// integers, ids and texts it is the hash of the key's bytes.
template <HashableKey Key>
constexpr uint64_t hashKeyWide(HashSeed const& seed, Key const& key) {
   if constexpr (std::is_enum_v<Key>) {
      return hashKeyWide(seed, static_cast<std::underlying_type_t<Key>>(key));
   } else if constexpr (std::same_as<Key, bool>) {
      return hashIntegerWide(seed, key ? 1 : 0, sizeof key);
   } else if constexpr (std::integral<Key>) {
      return hashIntegerWide(seed, static_cast<std::make_unsigned_t<Key>>(key),
                             sizeof key);
   } else if constexpr (Impl::WrappedIntegerKey<Key>) {
      return hashIntegerWide(seed, key.value(), sizeof key);
   } else if constexpr (Impl::SelfHashingKey<Key>) {
      return uint64_t{key.hash(seed)} << 32;
   } else {
      return uint64_t{hashBytes(seed, key.data(), key.size())} << 32;
   }
}
template <HashableKey Key>
constexpr uint32_t hashKey(HashSeed const& seed, Key const& key) {
   return static_cast<uint32_t>(hashKeyWide(seed, key) >> 32);
}

// Whether an object may be moved to another place by copying its bytes, the old place
// then being no object any more. True for what is trivially copyable; a class whose
// bytes do not refer to themselves specialises it, and moves faster in a collection.
template <typename T>
inline constexpr bool triviallyRelocatable = std::is_trivially_copyable_v<T>;
template <typename T>
inline constexpr bool triviallyRelocatable<Pelk::Ptr<T>> = true;
template <>
inline constexpr bool triviallyRelocatable<Pelk::String> = true;
template <>
inline constexpr bool triviallyRelocatable<L3::VrfName> = true;

// One member of a collection: for (auto const& [key, value] : map). A value of an
// empty type takes no space.
template <typename Key, typename Value>
class HashEntry {
 public:
   template <typename K, typename... Args>
   explicit HashEntry(std::in_place_t, K&& key, Args&&... args)
      : key_(std::forward<K>(key)), value_(std::forward<Args>(args)...) {}

   Key const& key() const noexcept { return key_; }
   Value const& value() const noexcept { return value_; }
   Value& value() noexcept { return value_; }

   // For the collection, which takes a removed member apart.
   Key&& takeKey() noexcept { return std::move(key_); }

   template <size_t I>
   auto& get() noexcept {
      if constexpr (I == 0) {
         return std::as_const(key_);
      } else {
         return value_;
      }
   }
   template <size_t I>
   auto const& get() const noexcept {
      if constexpr (I == 0) {
         return key_;
      } else {
         return value_;
      }
   }

 private:
   [[no_unique_address]] Key key_;
   [[no_unique_address]] Value value_;
};

// An entry is if its key and its value are.
template <typename Key, typename Value>
inline constexpr bool triviallyRelocatable<HashEntry<Key, Value>> =
   triviallyRelocatable<Key> && triviallyRelocatable<Value>;

} // namespace Zin

template <typename Key, typename Value>
struct std::tuple_size<Zin::HashEntry<Key, Value>>
   : std::integral_constant<std::size_t, 2> {};
template <typename Key, typename Value>
struct std::tuple_element<0, Zin::HashEntry<Key, Value>> {
   using type = Key const;
};
template <typename Key, typename Value>
struct std::tuple_element<1, Zin::HashEntry<Key, Value>> {
   using type = Value;
};
