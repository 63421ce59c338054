#pragma once

#include "zin/Optional.h"

#include <cstdint>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// How far a scan is. Frozen.
//
//    notStarted ----> interrupted <--> interrupted
//        |                 |
//        +---> initialComplete      the first pass is over, the parent's is not
//                     |   |
//                     v   v
//        interrupted --> complete   the second pass, or one that began after it
enum class ScanState : uint32_t {
   notStarted = 0,
   interrupted = 1,
   complete = 2,
   initialComplete = 3,
};

// What a slice of a walk did, and the member that the next one begins at, if it did
// not come to the end.
template <typename Key>
struct WalkResult {
   uint64_t items = 0;
   Zin::Optional<Key> next;
};

// Hands the members of a collection to item(key, value), in the collection's order,
// from the bookmark on (null: from the start), until mustYield() says so after one of
// them. An item that returns false is not done with: the walk stops, and begins there
// again. Key and value are copies, which last until the item is done.
template <typename Collection, typename Item, typename MustYield>
auto walkSlice(Collection const& collection,
               typename Collection::key_type const* bookmark, Item item,
               MustYield mustYield) {
   using Key = typename Collection::key_type;
   WalkResult<Key> result;
   auto member =
      bookmark != nullptr ? collection.iterate(*bookmark) : collection.iterate();
   while (member) {
      Key const key = member.key();
      typename Collection::mapped_type const value = member.value();
      bool const done = item(key, value);
      ++result.items;
      if (!done) {
         result.next = key;
         return result;
      }
      if (mustYield()) {
         if (member.next()) {
            result.next = member.key();
         }
         return result;
      }
      member.next();
   }
   return result;
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
