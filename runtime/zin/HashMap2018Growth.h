#pragma once

#include "zin/HashMap2018.h"

// How HashMap2018 takes members in, and grows. Included by HashMap2018.h only.
namespace Zin {

// Most keys are new, and the first of their tag in a home with room: nothing is called
// for them, so that nothing is saved for a call.
template <CollectionName Name, HashableKey Key, typename Value>
template <typename K, typename... Args>
auto HashMap2018<Name, Key, Value>::insertInTable(Key const& key, K&& newKey,
                                                  Args&&... args) -> Inserted {
   auto const [home, tag] = block_->addressOf(hashOf(key));
   Impl::HashTags const& tags = block_->tags(home);
   if (tags.equal(tag) == 0 && !block_->group(home).goesOn() && hasRoom(home))
      [[likely]] {
      countWork(1);
      return addAt({home, tags.below(tag), false}, tag, std::forward<K>(newKey),
                   std::forward<Args>(args)...);
   }
   return insertFar(key, std::forward<K>(newKey), std::forward<Args>(args)...);
}

template <CollectionName Name, HashableKey Key, typename Value>
template <typename K, typename... Args>
[[gnu::noinline]] auto
HashMap2018<Name, Key, Value>::insertFar(Key const& key, K&& newKey, Args&&... args)
   -> Inserted {
   uint64_t hash = hashOf(key);
   Place place = locate(key, hash);
   if (place.found) {
      return {entries() + block_->slotAt(place.group, place.rank), false};
   }
   if (hasRoom(place.group)) {
      return addAt(place, block_->addressOf(hash).tag, std::forward<K>(newKey),
                   std::forward<Args>(args)...);
   }
   // What may throw comes before the first change; the arguments may stand in the map.
   Entry fresh(std::in_place, std::forward<K>(newKey), std::forward<Args>(args)...);
   place = makeRoom(fresh.key(), hash, place);
   return addAt(place, block_->addressOf(hash).tag, std::move(fresh));
}

// Makes the member in a free slot of the group, which there must be.
template <CollectionName Name, HashableKey Key, typename Value>
template <typename... Args>
[[gnu::always_inline]] inline auto
HashMap2018<Name, Key, Value>::addAt(Place const& place, Impl::SlotTag tag,
                                     Args&&... args) -> Inserted {
   uint32_t const slot = block_->group(place.group).freeSlot();
   Entry* const entry = entries() + (place.group * Impl::kGroupSlots + slot);
   if constexpr (sizeof...(Args) == 1 && (std::same_as<Args, Entry> && ...)) {
      ::new (entry) Entry(std::forward<Args>(args)...);
   } else {
      ::new (entry) Entry(std::in_place, std::forward<Args>(args)...);
   }
   block_->take(place.group, slot, place.rank, tag);
   ++size_;
   bumpVersion();
   return {entry, true};
}

// Makes room in the key's group, or a larger table, until the key has a free slot.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] auto HashMap2018<Name, Key, Value>::makeRoom(Key const& key,
                                                               uint64_t& hash,
                                                               Place place) -> Place {
   while (true) {
      Impl::HashShape const& shape = block_->shape();
      if (hasRoom(place.group)) {
         return place;
      }
      bool const full = size_ >= shape.maxSize;
      if (!full && (block_->nextHasRoom(place.group) || block_->hasSpareGroup())) {
         place = spill(place);
         continue;
      }
      // Long chains in a table that is nearly empty: more homes would not shorten them.
      bool const crowded = !full && size_ < shape.homes() * kFewOnAverage;
      uint32_t const chained = block_->chainedAtMost();
      rehash(crowded ? shape.wider(chained) : shape.larger(chained));
      hash = hashOf(key);
      place = locate(key, hash);
   }
}

// Moves the highest member of a full group to the next one of its chain, a new one if
// need be; nothing if all of the group is below the place. Few members are then not in
// their home, and ascending members fill their groups.
template <CollectionName Name, HashableKey Key, typename Value>
auto HashMap2018<Name, Key, Value>::spill(Place place) -> Place {
   size_t const next = block_->nextHasRoom(place.group)
                          ? block_->group(place.group).nextGroup()
                          : block_->chain(place.group);
   uint32_t const last = Impl::kGroupSlots - 1;
   if (place.rank > last) {
      return {next, 0, false};
   }
   size_t const from = block_->slotAt(place.group, last);
   uint32_t const to = block_->group(next).freeSlot();
   moveMember(from, next * Impl::kGroupSlots + to);
   block_->take(next, to, 0, block_->tags(place.group).slots[from % Impl::kGroupSlots]);
   block_->release(from);
   return place;
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::rehash(Impl::HashShape const& shape) {
   Block* const old = block_;
   HashSeed const seed = size_ == 0 || isInline() ? hashSeed() : old->seed();
   Block* const larger = Block::allocate(seed, shape, sizeof(Entry));
   auto* const from = entries();
   auto* const to = static_cast<Entry*>(larger->entries());
   countWork(size_);
   size_t tail = 0;
   for (size_t group = old->firstHome(); group != Block::kNoSlot;
        group = old->groupBehind(group)) {
      Impl::SlotOrder order = old->group(group).order;
      for (uint32_t left = old->group(group).count; left != 0; --left) {
         size_t const slot = group * Impl::kGroupSlots + order.first();
         order.removeFirst();
         size_t const moved = larger->append(tail, hashKeyWide(seed, from[slot].key()));
         relocate(to + moved, from + slot);
         Impl::HashIteratorBase::forEach(iterators_, [=](auto& base) {
            auto& it = static_cast<GenericIterator&>(base);
            if (it.slot_ == slot) {
               it.movedTo_ = moved;
            }
         });
      }
   }
   Impl::HashIteratorBase::forEach(iterators_, [](auto& base) {
      auto& it = static_cast<GenericIterator&>(base);
      if (it.slot_ != Block::kNoSlot) {
         it.slot_ = it.movedTo_;
      }
   });
   block_ = larger;
   Block::deallocate(old);
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::reserve(size_t count) {
   if (kFirstInline && count <= 1) {
      return;
   }
   Impl::HashShape const& shape = block_->shape();
   if (shape.maxSize < count) {
      rehash(shape.fitting(count, block_->chainedAtMost()));
   }
}

} // namespace Zin
