#pragma once

#include "pelk/Export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// Seeded hashing of keys. Hashes are made for tables in one process: they depend on
// the process seed and on the byte order, and are never stored or sent.
namespace Zin {

// The seed of the process: random, unless set before its first use. Every collection
// hashes with this seed XOR a constant of its own, so that no two collections share an
// order. Tests and `--seed` set it, to make orders repeatable; setting it later
// concerns only the tables that hold nothing yet.
class PELK_EXPORT HashHelper {
 public:
   // The seed; chosen by the first call, if it was not set.
   static uint32_t hashSeed32() noexcept;
   // Sets it for the collections that hold nothing yet.
   static void hashSeed32Is(uint32_t seed) noexcept;
};

// Wide enough for the product of two words.
__extension__ using HashProduct = unsigned __int128;

// The product of a word that depends on the key and one that depends on the seed, or on
// both: folded to a state to go on with, or to the hash, which is taken from the middle
// of the product, where every bit of the operands reaches.
constexpr uint64_t hashFold64(uint64_t a, uint64_t b) noexcept {
   HashProduct const product = static_cast<HashProduct>(a) * b;
   return static_cast<uint64_t>(product >> 64) ^ static_cast<uint64_t>(product);
}
constexpr uint32_t hashFold32(uint64_t a, uint64_t b) noexcept {
   HashProduct const product = static_cast<HashProduct>(a) * b;
   return static_cast<uint32_t>(product >> 64) ^
          static_cast<uint32_t>(static_cast<uint64_t>(product) >> 32);
}

// A 32-bit seed, expanded to the 128 bits that enter the mixing. Similar seeds make
// unrelated orders: with the plain seed in their place, walking one table into another
// would meet the members almost in the other's order, and its runs would grow long.
class HashSeed {
 public:
   constexpr explicit HashSeed(uint32_t seed) noexcept
      : s0_(expand(seed + 0x9e3779b97f4a7c15u) | 1),
        s1_(expand(seed + 2 * 0x9e3779b97f4a7c15u) | 1), seed_(seed) {}

   // Both are odd, as factors of a product that loses nothing.
   constexpr uint64_t s0() const noexcept { return s0_; }
   constexpr uint64_t s1() const noexcept { return s1_; }
   // The 32 bits that it was made of.
   constexpr operator uint32_t() const noexcept { return seed_; }

 private:
   // The output function of splitmix64.
   static constexpr uint64_t expand(uint64_t x) noexcept {
      x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
      x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
      return x ^ (x >> 31);
   }

   uint64_t s0_;
   uint64_t s1_;
   uint32_t seed_;
};

// Hashes an integer of the given length in bytes (1 to 8): the hash is the upper half.
// Two products: after a single one, ascending numbers make steps that some seeds gather
// in few places.
constexpr uint64_t hashIntegerWide(HashSeed const& seed, uint64_t value,
                                   size_t length) noexcept {
   return hashFold64(value + seed.s0(), seed.s1() + 2 * length) * seed.s0();
}
constexpr uint32_t hashInteger(HashSeed const& seed, uint64_t value,
                               size_t length) noexcept {
   return static_cast<uint32_t>(hashIntegerWide(seed, value, length) >> 32);
}

namespace Impl {

inline uint64_t hashLoad64(char const* bytes) noexcept {
   uint64_t value;
   std::memcpy(&value, bytes, sizeof value);
   return value;
}

inline uint64_t hashLoad32(char const* bytes) noexcept {
   uint32_t value;
   std::memcpy(&value, bytes, sizeof value);
   return value;
}

// The first one to eight bytes as an integer, the rest of it zero.
inline uint64_t hashLoadShort(char const* bytes, size_t length) noexcept {
   if (length >= 4) {
      return hashLoad32(bytes) | (hashLoad32(bytes + length - 4) << (8 * (length - 4)));
   }
   if (length == 0) {
      return 0;
   }
   auto const byteAt = [bytes](size_t i) {
      return uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
   };
   return byteAt(0) | byteAt(length / 2) | byteAt(length - 1);
}

// Of more than eight bytes.
uint32_t hashLong(HashSeed const& seed, char const* bytes, size_t length) noexcept;

} // namespace Impl

// Hashes bytes. Those of an unsigned integer hash as hashInteger() hashes it.
inline uint32_t hashBytes(HashSeed const& seed, void const* data,
                          size_t length) noexcept {
   auto const* const bytes = static_cast<char const*>(data);
   if (length <= 8) {
      return hashInteger(seed, Impl::hashLoadShort(bytes, length), length);
   }
   return Impl::hashLong(seed, bytes, length);
}

// Hashes one key, which is one attribute's bytes.
inline uint32_t hashSingleAttr(uint32_t seed, void const* data,
                               size_t length) noexcept {
   return hashBytes(HashSeed(seed), data, length);
}

// What a collection adds to its seed (by XOR) before it hashes a key.
inline constexpr uint32_t kHashSingleAttrSalt = 0x12e0465d;

inline uint32_t Impl::hashLong(HashSeed const& seed, char const* bytes,
                               size_t length) noexcept {
   uint64_t state = seed.s1() + length;
   size_t left = length;
   for (; left > 16; left -= 16, bytes += 16) {
      state = hashFold64(hashLoad64(bytes) ^ seed.s0(), hashLoad64(bytes + 8) ^ state);
   }
   // The last 16 bytes, some of them for the second time when the length is odd.
   char const* const end = bytes + left;
   uint64_t const first = left > 8 ? hashLoad64(bytes) : hashLoad64(end - 16);
   state = hashFold64(first ^ seed.s0(), hashLoad64(end - 8) ^ state);
   return hashFold32(state, seed.s0());
}

// Mixes the fields of a composite key:
//    uint32_t hash(uint32_t seed) const {
//       return HashMixer(seed).add(vlan_).add(group_).finish();
//    }
class HashMixer {
 public:
   constexpr explicit HashMixer(uint32_t seed) noexcept : HashMixer(HashSeed(seed)) {}
   constexpr explicit HashMixer(HashSeed const& seed) noexcept
      : seed_(seed), state_(seed.s1()) {}

   // Mixes another field in. The order of the fields matters.
   template <typename Field>
      requires std::integral<Field> || std::is_enum_v<Field>
   constexpr HashMixer& add(Field field) noexcept {
      state_ = hashFold64(static_cast<uint64_t>(field) ^ seed_.s0(), state_ + kStep);
      return *this;
   }
   // Mixes bytes in, and how many they are.
   HashMixer& addBytes(void const* data, size_t length) noexcept {
      return add(hashBytes(seed_, data, length)).add(length);
   }
   // The hash of what was mixed in.
   constexpr uint32_t finish() const noexcept { return hashFold32(state_, seed_.s0()); }

 private:
   // Keeps a state of 0 from swallowing what follows.
   static constexpr uint64_t kStep = 0x9e3779b97f4a7c15u;

   HashSeed seed_;
   uint64_t state_;
};

} // namespace Zin
