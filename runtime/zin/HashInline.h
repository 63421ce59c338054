#pragma once

#include <cstddef>

// What a HashMap2018 needs that keeps its only member in itself: see keepsFirstInline.
namespace Zin {

// Whether a collection of that name keeps its first member in itself, and makes a table
// only for the second one. That is for the collections of which there are very many and
// which usually have one member: it saves them a heap block and the hash of each key
// that they are asked for, and costs the collection the room for a member. The name
// says so:
//    static constexpr bool firstInline = true;
//
// Everything else is as in other collections. A table that was made stays until the
// collection is cleared. The order between a bookmark and the only member follows the
// process seed of now, not that of when the member was added.
template <typename Name>
inline constexpr bool keepsFirstInline = requires { requires Name::firstInline; };

namespace Impl {

// Room for one member in the collection, which knows whether there is one.
template <size_t size, size_t alignment>
class InlineRoom {
 public:
   [[gnu::always_inline]] void* memory() const noexcept {
      return const_cast<std::byte*>(&storage_[0]);
   }

 private:
   alignas(alignment) std::byte storage_[size];
};
struct NoRoom {};

} // namespace Impl

} // namespace Zin
