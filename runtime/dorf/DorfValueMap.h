#pragma once

#include "zin/HashMap2018.h"
#include "zin/ValueTraits.h"

#include <cstddef>

namespace Dorf {

// A set of values, with the access that the join tree's levels are asked by. Order,
// bookmarks and version are those of Zin::HashMap2018.
template <typename Tag, typename Key>
class DorfValueMap : public Zin::HashMap2018<Tag, Key, Zin::Unit> {
   using Base = Zin::HashMap2018<Tag, Key, Zin::Unit>;

 public:
   // The number of members.
   size_t members() const noexcept { return Base::size(); }

   // The member that equals the key, and found true; else a default one, and false.
   Key safeLookup(Key const& key, bool& found) const {
      auto const* const entry = Base::find(key);
      found = entry != nullptr;
      return found ? entry->key() : Key();
   }
};

} // namespace Dorf
