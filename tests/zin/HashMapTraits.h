#pragma once

#include "zin/CollectionContract.h"
#include "zin/HashMap2018.h"

#include <algorithm>
#include <concepts>
#include <memory>
#include <optional>
#include <string>

// HashMap2018 as the contract suite takes it, in its usual form and with its first
// member in itself. Traits of MapTraits add the key of a number; Operations completes
// them.
namespace ContractTest {

struct TestMap {
   static constexpr char const* name = "testMap";
   static constexpr uint32_t seed = 0x20182018;
};
struct FirstInlineMap : TestMap {
   static constexpr bool firstInline = true;
};

template <typename K, typename V, typename Name = TestMap>
struct MapTraits {
   using Key = K;
   using Collection = Zin::HashMap2018<Name, Key, V>;
   static constexpr bool hasValues = !std::is_empty_v<V>;

   static uint32_t hash(Key const& key) {
      return Zin::hashKey(Collection::hashSeed(), key);
   }
   static uint32_t number([[maybe_unused]] V const& value) {
      if constexpr (std::same_as<V, std::unique_ptr<uint32_t>>) {
         return *value;
      } else if constexpr (std::same_as<V, std::string>) {
         return static_cast<uint32_t>(std::stoul(value));
      } else if constexpr (hasValues) {
         return value;
      } else {
         return 0;
      }
   }
};

template <typename Traits>
struct Operations : Traits {
   using typename Traits::Collection;

   static auto value([[maybe_unused]] uint32_t number) {
      using V = typename Collection::mapped_type;
      if constexpr (std::same_as<V, std::unique_ptr<uint32_t>>) {
         return std::make_unique<uint32_t>(number);
      } else if constexpr (std::same_as<V, std::string>) {
         // Too long to stand in the object.
         return std::to_string(number) + std::string(30, ' ');
      } else if constexpr (Traits::hasValues) {
         return number;
      } else {
         return V();
      }
   }
   static bool insert(Collection& c, uint32_t n, uint32_t v) {
      auto const result = c.insert(Traits::key(n), value(v));
      EXPECT_EQ(result.entry->key(), Traits::key(n));
      return result.inserted;
   }
   static bool assign(Collection& c, uint32_t n, uint32_t v) {
      return c.assign(Traits::key(n), value(v)).inserted;
   }
   static bool erase(Collection& c, uint32_t n) { return c.erase(Traits::key(n)); }
   static std::optional<uint32_t> find(Collection const& c, uint32_t n) {
      auto const* entry = c.find(Traits::key(n));
      EXPECT_EQ(c.contains(Traits::key(n)), entry != nullptr);
      return entry == nullptr ? std::nullopt
                              : std::optional(Traits::number(entry->value()));
   }
};

} // namespace ContractTest
