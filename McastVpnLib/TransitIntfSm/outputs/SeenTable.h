#pragma once

#include "zin/HashMap2018.h"
#include "zin/ValueTraits.h"

#include <concepts>
#include <cstddef>
#include <utility>

namespace Irb::Multicast::Evpn {

// What the pipeline would have in an output: what stands here while the output is
// reconciled is what has to stand there afterwards. Name is the collection's
// (zin/HashMap2018.h); an output of mere keys has Zin::Unit values. Event thread only.
template <typename Name, typename Key, typename Value>
class SeenTable {
 public:
   using Map = Zin::HashMap2018<Name, Key, Value>;

   Map const& map() const noexcept { return map_; }
   bool has(Key const& key) const { return map_.contains(key); }

   // Adds the key, or gives it another value.
   void is(Key const& key, Value const& value) {
      if constexpr (std::same_as<Value, Zin::Unit>) {
         map_.insert(key);
      } else {
         map_.assign(key, value);
      }
   }
   // Removes the key; returns its value, or a default one if it was not there.
   Value del(Key const& key) {
      return map_.empty() ? Value() : map_.extract(key).value_or(Value());
   }
   void delAll() { map_.clear(); }
   // Makes room for that many keys. Not a change.
   void reserve(size_t keys) { map_.reserve(keys); }

 private:
   Map map_;
};

} // namespace Irb::Multicast::Evpn
