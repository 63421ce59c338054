#include "l3/VrfName.h"
#include "zin/HashMap2018.h"

#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

// HashMap2018 beside absl::flat_hash_map and std::unordered_map. A name reads
// operation/key/members/map; hashmap_ratios.py makes ratios of them.
namespace {

using Value = uint64_t;

// The keys of one kind, by their number; strings of one length.
struct Key16 {
   using Type = uint16_t;
   static constexpr char const* name = "u16";
   static Type key(uint32_t n) { return static_cast<uint16_t>(n + 1); }
};

struct Key64 {
   using Type = uint64_t;
   static constexpr char const* name = "u64";
   // As the ids of interfaces: a kind in the top byte, a number below.
   static Type key(uint32_t n) { return uint64_t{3} << 56 | n; }
};

template <size_t Length>
struct KeyText {
   using Type = L3::VrfName;
   static constexpr char const* name = Length == 8 ? "vrf8" : "vrf40";
   static Type key(uint32_t n) {
      std::string const digits = std::to_string(n);
      return {"v" + std::string(Length - 1 - digits.size(), '0') + digits};
   }
};

template <typename Key>
struct AbslHash : absl::Hash<Key> {};
template <>
struct AbslHash<L3::VrfName> {
   size_t operator()(L3::VrfName const& name) const {
      return absl::Hash<std::string_view>{}(name.view());
   }
};

struct BenchMap {
   static constexpr char const* name = "bench";
   static constexpr uint32_t seed = 0x6d1f0a35;
};

// One face for the three maps.
template <typename Key>
struct ZinMap {
   static constexpr char const* name = "zin";
   Zin::HashMap2018<BenchMap, Key, Value> map;

   Value get(Key const& key) const {
      auto const* entry = map.find(key);
      return entry == nullptr ? 1 : entry->value();
   }
   void insert(Key const& key, Value value) { map.insert(key, value); }
   void erase(Key const& key) { map.erase(key); }
   Value sum() const {
      Value total = 0;
      for (auto const& entry : map) {
         total += entry.value();
      }
      return total;
   }
};

template <typename Map>
struct StdLikeMap {
   Map map;

   Value get(typename Map::key_type const& key) const {
      auto const it = map.find(key);
      return it == map.end() ? 1 : it->second;
   }
   void insert(typename Map::key_type const& key, Value value) {
      map.try_emplace(key, value);
   }
   void erase(typename Map::key_type const& key) { map.erase(key); }
   Value sum() const {
      Value total = 0;
      for (auto const& entry : map) {
         total += entry.second;
      }
      return total;
   }
};

template <typename Key>
struct AbslMap : StdLikeMap<absl::flat_hash_map<Key, Value, AbslHash<Key>>> {
   static constexpr char const* name = "absl";
};

template <typename Key>
struct StdMap : StdLikeMap<std::unordered_map<Key, Value>> {
   static constexpr char const* name = "std";
};

template <typename Keys>
std::vector<typename Keys::Type> keysFrom(uint32_t first, uint32_t count) {
   std::vector<typename Keys::Type> keys;
   for (uint32_t n = first; n < first + count; ++n) {
      keys.push_back(Keys::key(n));
   }
   std::shuffle(keys.begin(), keys.end(), std::mt19937(first + count));
   return keys;
}

// Enough look-ups, in an order that repeats too late to be learnt.
template <typename Key>
std::vector<Key> picks(std::vector<Key> const& keys) {
   std::mt19937 random(77);
   std::vector<Key> picked;
   for (size_t n = 0; n < std::max<size_t>(keys.size(), 1 << 14); ++n) {
      picked.push_back(keys[random() % keys.size()]);
   }
   return picked;
}

template <typename Map, typename Key>
Map filled(std::vector<Key> const& keys) {
   Map map;
   for (auto const& key : keys) {
      map.insert(key, 2);
   }
   return map;
}

template <typename Map, typename Key>
void lookUp(benchmark::State& state, std::vector<Key> const& members,
            std::vector<Key> const& wanted) {
   auto const map = filled<Map>(members);
   auto const sequence = picks(wanted);
   for (auto _ : state) {
      Value total = 0;
      for (auto const& key : sequence) {
         total += map.get(key);
      }
      benchmark::DoNotOptimize(total);
   }
   state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(sequence.size()));
}

template <typename Keys, typename Map>
void hit(benchmark::State& state, uint32_t count) {
   auto const keys = keysFrom<Keys>(0, count);
   lookUp<Map>(state, keys, keys);
}

template <typename Keys, typename Map>
void miss(benchmark::State& state, uint32_t count) {
   lookUp<Map>(state, keysFrom<Keys>(0, count), keysFrom<Keys>(count, count));
}

template <typename Keys, typename Map>
void fill(benchmark::State& state, uint32_t count) {
   auto const keys = keysFrom<Keys>(0, count);
   for (auto _ : state) {
      auto const map = filled<Map>(keys);
      benchmark::DoNotOptimize(&map);
   }
   state.SetItemsProcessed(state.iterations() * count);
}

// One member goes and another comes, so that the size stays.
template <typename Keys, typename Map>
void eraseInsert(benchmark::State& state, uint32_t count) {
   auto const keys = keysFrom<Keys>(0, 2 * count);
   auto map = filled<Map>(std::vector(keys.begin(), keys.begin() + count));
   size_t oldest = 0;
   size_t next = count;
   for (auto _ : state) {
      map.erase(keys[oldest]);
      map.insert(keys[next], 2);
      oldest = oldest + 1 == keys.size() ? 0 : oldest + 1;
      next = next + 1 == keys.size() ? 0 : next + 1;
   }
   state.SetItemsProcessed(state.iterations());
}

template <typename Keys, typename Map>
void iterate(benchmark::State& state, uint32_t count) {
   auto const map = filled<Map>(keysFrom<Keys>(0, count));
   for (auto _ : state) {
      benchmark::DoNotOptimize(map.sum());
   }
   state.SetItemsProcessed(state.iterations() * count);
}

template <typename Keys, typename Map>
void registerMap(uint32_t count) {
   auto const add = [count](char const* operation, auto function) {
      std::string const name = std::string(operation) + '/' + Keys::name + '/' +
                               std::to_string(count) + '/' + Map::name;
      benchmark::RegisterBenchmark(
         name.c_str(), [=](benchmark::State& state) { function(state, count); });
   };
   add("hit", hit<Keys, Map>);
   add("miss", miss<Keys, Map>);
   add("fill", fill<Keys, Map>);
   add("eraseInsert", eraseInsert<Keys, Map>);
   add("iterate", iterate<Keys, Map>);
}

template <typename Keys>
void registerKeys(uint32_t most) {
   for (uint32_t const count : {16u, 4094u, 100000u}) {
      if (count <= most) {
         registerMap<Keys, ZinMap<typename Keys::Type>>(count);
         registerMap<Keys, AbslMap<typename Keys::Type>>(count);
         registerMap<Keys, StdMap<typename Keys::Type>>(count);
      }
   }
}

[[maybe_unused]] bool const registered = [] {
   Zin::HashHelper::hashSeed32Is(0x2018);
   registerKeys<Key16>(4094);
   registerKeys<Key64>(100000);
   registerKeys<KeyText<8>>(100000);
   registerKeys<KeyText<40>>(100000);
   return true;
}();

} // namespace
