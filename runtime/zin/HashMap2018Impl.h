#pragma once

#include "zin/HashMap2018.h"

// How HashMap2018 works. Included by HashMap2018.h only.
namespace Zin {

template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::always_inline]] inline auto
HashMap2018<Name, Key, Value>::findEntry(Key const& key) const -> Entry* {
   SlotHash const hash = slotHashOf(key);
   uint32_t const home = block_->homeOf(hash);
   SlotHash const* const window = block_->hashes() + home;
   Impl::SlotMask const equal = Impl::HashWindow::equal(window, hash);
   if (equal) {
      Entry* const entry = entries() + home + equal.first();
      if (entry->key() == key) [[likely]] {
         return entry;
      }
   } else if (window[Impl::kWindowSlots - 1] > hash) [[likely]] {
      return nullptr;
   }
   return findFar(key, hash);
}

// Among equal hashes, or far from home.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] auto HashMap2018<Name, Key, Value>::findFar(Key const& key,
                                                              SlotHash hash) const
   -> Entry* {
   Place const place = locate(key, hash);
   return place.found ? entries() + place.slot : nullptr;
}

template <CollectionName Name, HashableKey Key, typename Value>
auto HashMap2018<Name, Key, Value>::locate(Key const& key, SlotHash hash) const
   -> Place {
   uint32_t steps = 1;
   uint32_t slot = block_->lowerSlotNear(hash);
   SlotHash const* const hashes = block_->hashes();
   if (hashes[slot] < hash) {
      slot = block_->lowerSlot(hash, slot, steps);
   }
   bool found = false;
   for (; hashes[slot] == hash; ++slot) {
      Key const& present = entries()[slot].key();
      ++steps;
      if (present == key) {
         found = true;
         break;
      }
      if (!(present < key)) {
         break;
      }
   }
   countWork(steps);
   return {slot, found};
}

template <CollectionName Name, HashableKey Key, typename Value>
auto HashMap2018<Name, Key, Value>::lowerBound(Key const& key) const -> Place {
   Place place = locate(key, slotHashOf(key));
   place.slot = block_->nextHeld(place.slot);
   return place;
}

template <CollectionName Name, HashableKey Key, typename Value>
uint32_t HashMap2018<Name, Key, Value>::upperBound(Key const& key) const {
   Place const place = lowerBound(key);
   return place.found ? block_->nextHeld(place.slot + 1) : place.slot;
}

template <CollectionName Name, HashableKey Key, typename Value>
template <typename K, typename... Args>
auto HashMap2018<Name, Key, Value>::insertAt(Key const& key, K&& newKey, Args&&... args)
   -> Inserted {
   SlotHash hash = slotHashOf(key);
   uint32_t slot = block_->lowerSlotNear(hash);
   if (block_->hashes()[slot] <= hash) [[unlikely]] {
      Place const place = locate(key, hash);
      if (place.found) {
         return {entries() + place.slot, false};
      }
      slot = place.slot;
   } else {
      countWork(1);
   }
   // What may throw comes before the first change; the arguments may stand in the map.
   Entry fresh(std::in_place, std::forward<K>(newKey), std::forward<Args>(args)...);
   uint32_t free = block_->nextFree(slot);
   if (size_ >= block_->shape().maxSize || free >= block_->slots() ||
       block_->movedTooMuch(free - slot, size_)) [[unlikely]] {
      slot = makeRoom(fresh.key(), hash, slot);
      free = block_->nextFree(slot);
   }
   block_->openSlot(slot, free, hash);
   if (free != slot) {
      relocateUp(slot, free);
   }
   auto* const entry = ::new (entries() + slot) Entry(std::move(fresh));
   ++size_;
   bumpVersion();
   return {entry, true};
}

// Makes the table larger, or its end wider, and finds the key's slot again.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] uint32_t
HashMap2018<Name, Key, Value>::makeRoom(Key const& key, SlotHash& hash, uint32_t slot) {
   Impl::HashShape const& shape = block_->shape();
   bool const full = size_ >= shape.maxSize;
   bool const atEnd = !full && block_->nextFree(slot) >= block_->slots();
   rehash(atEnd ? shape.wider() : shape.larger(block_->overflowWhenLarger()));
   hash = slotHashOf(key);
   return locate(key, hash).slot;
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::rehash(Impl::HashShape const& shape) {
   Block* const old = block_;
   HashSeed const seed = old->slots() == 0 ? hashSeed() : old->seed();
   Block* const larger = Block::allocate(seed, shape, sizeof(Entry));
   auto* const from = entries();
   auto* const to = static_cast<Entry*>(larger->entries());
   // The order stays: each member moves to its home, or behind the one before it.
   uint32_t next = 0;
   for (uint32_t word = old->firstWord(); word < old->wordCount(); ++word) {
      for (uint64_t bits = old->words()[word]; bits != 0; bits &= bits - 1) {
         uint32_t const slot =
            word * 64 + static_cast<uint32_t>(std::countr_zero(bits));
         SlotHash const hash = old->hashes()[slot];
         next = std::max(next, larger->homeOf(hash));
         larger->append(next, hash);
         relocate(to + next, from + slot);
         ++next;
      }
   }
   countWork(size_);
   Impl::HashIteratorBase::forEach(iterators_, [=](auto& base) {
      auto& it = static_cast<GenericIterator&>(base);
      if (it.slot_ != Block::kNoSlot) {
         it.slot_ = larger->slotAt(old->rankOf(it.slot_));
      }
   });
   block_ = larger;
   Block::deallocate(old);
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::reserve(size_t count) {
   Impl::HashShape shape = block_->shape();
   while (shape.maxSize < count) {
      shape = shape.larger(shape.homesLog2 == 0 ? 0 : shape.slots - shape.homes());
   }
   if (shape.slots != block_->slots()) {
      rehash(shape);
   }
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::eraseAt(uint32_t slot) {
   Entry* const entry = entries() + slot;
   if (iterators_ != nullptr && keepForIterators(slot)) [[unlikely]] {
      entry->~Entry();
      removeSlot(slot);
      return;
   }
   // Goes when the map is whole again.
   [[maybe_unused]] Entry const gone(std::move(*entry));
   entry->~Entry();
   removeSlot(slot);
}

// Moves a member to the iterators that stand on it. False if there are none.
template <CollectionName Name, HashableKey Key, typename Value>
bool HashMap2018<Name, Key, Value>::keepForIterators(uint32_t slot) noexcept {
   GenericIterator* keeper = nullptr;
   Impl::HashIteratorBase::forEach(iterators_, [&](auto& base) {
      auto& it = static_cast<GenericIterator&>(base);
      if (it.slot_ != slot) {
         return;
      }
      if (keeper == nullptr) {
         keeper = &it;
         it.keep(std::move(entries()[slot]));
      } else {
         it.share(*keeper);
      }
   });
   return keeper != nullptr;
}

// Takes a slot whose member is destroyed out of its run.
template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::removeSlot(uint32_t slot) noexcept {
   uint32_t last = block_->closingSlot(slot);
   if (last != Block::kNoSlot) [[likely]] {
      block_->closeSlot(slot, last);
   } else {
      last = block_->remnantSlot(slot);
      block_->makeRemnant(last);
   }
   if (last != slot) {
      relocateDown(slot, last);
   }
   --size_;
   bumpVersion();
}

template <CollectionName Name, HashableKey Key, typename Value>
std::optional<Value> HashMap2018<Name, Key, Value>::extract(Key const& key) {
   Entry* const entry = findEntry(key);
   if (entry == nullptr) {
      return std::nullopt;
   }
   uint32_t const slot = slotOf(entry);
   Value& value = entry->value();
   std::optional<Value> result;
   if constexpr (std::copy_constructible<Value>) {
      bool shared = false;
      Impl::HashIteratorBase::forEach(iterators_, [&](auto& base) {
         shared |= static_cast<GenericIterator&>(base).slot_ == slot;
      });
      if (shared) {
         result.emplace(std::as_const(value));
      }
   }
   if (!result.has_value()) {
      result.emplace(std::move(value));
   }
   eraseAt(slot);
   return result;
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::clear() noexcept {
   if (size_ != 0) {
      bumpVersion();
      dropAll();
   }
}

// Leaves an empty map. What iterators stand on, they keep.
template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::dropAll() noexcept {
   Impl::HashIteratorBase::forEach(iterators_, [this](auto& base) {
      if (uint32_t const slot = static_cast<GenericIterator&>(base).slot_;
          slot != Block::kNoSlot) {
         keepForIterators(slot);
      }
   });
   Block* const old = std::exchange(block_, Block::none());
   size_ = 0;
   if constexpr (!std::is_trivially_destructible_v<Entry>) {
      auto* const members = static_cast<Entry*>(old->entries());
      for (uint32_t slot = old->nextHeld(0); slot != Block::kNoSlot;
           slot = old->nextHeld(slot + 1)) {
         members[slot].~Entry();
      }
   }
   Block::deallocate(old);
}

template <CollectionName Name, HashableKey Key, typename Value>
HashMap2018<Name, Key, Value>::~HashMap2018() {
   do {
      dropAll();
   } while (size_ != 0); // a value's destructor may have added some
   Impl::HashIteratorBase::forEach(iterators_, [](auto& base) {
      static_cast<GenericIterator&>(base).map_ = nullptr;
   });
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::swap(HashMap2018& other) noexcept {
   PELK_ASSERT(iterators_ == nullptr && other.iterators_ == nullptr,
               "a collection moved while an iterator stood on it");
   std::swap(block_, other.block_);
   std::swap(size_, other.size_);
   std::swap(version_, other.version_);
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::relocate(Entry* to, Entry* from) noexcept {
   if constexpr (triviallyRelocatable<Entry>) {
      std::memcpy(static_cast<void*>(to), static_cast<void const*>(from),
                  sizeof(Entry));
   } else {
      ::new (static_cast<void*>(to)) Entry(std::move(*from));
      from->~Entry();
   }
}

// [from, free) moves up by one slot, and the iterators that stand there.
template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::relocateUp(uint32_t from, uint32_t free) noexcept {
   countWork(free - from);
   Impl::HashIteratorBase::forEach(iterators_, [=](auto& base) {
      auto& it = static_cast<GenericIterator&>(base);
      if (it.slot_ >= from && it.slot_ < free) {
         ++it.slot_;
      }
   });
   Entry* const members = entries();
   if constexpr (triviallyRelocatable<Entry> && sizeof(Entry) <= kMostMovedBytes) {
      size_t const bytes = (free - from) * sizeof(Entry);
      auto* const start = reinterpret_cast<std::byte*>(members + from);
      if (bytes <= Move::span && !block_->isSmall()) [[likely]] {
         Move::up(start, bytes, sizeof(Entry));
      } else {
         std::memmove(start + sizeof(Entry), start, bytes);
      }
   } else {
      for (uint32_t slot = free; slot > from; --slot) {
         relocate(members + slot, members + slot - 1);
      }
   }
}

// (slot, last] moves down by one slot, and the iterators that stand there.
template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::relocateDown(uint32_t slot,
                                                 uint32_t last) noexcept {
   countWork(last - slot);
   Impl::HashIteratorBase::forEach(iterators_, [=](auto& base) {
      auto& it = static_cast<GenericIterator&>(base);
      if (it.slot_ > slot && it.slot_ <= last) {
         --it.slot_;
      }
   });
   Entry* const members = entries();
   if constexpr (triviallyRelocatable<Entry> && sizeof(Entry) <= kMostMovedBytes) {
      size_t const bytes = (last - slot) * sizeof(Entry);
      auto* const start = reinterpret_cast<std::byte*>(members + slot);
      if (bytes <= Move::span && !block_->isSmall()) [[likely]] {
         Move::down(start, bytes, sizeof(Entry));
      } else {
         std::memmove(start, start + sizeof(Entry), bytes);
      }
   } else {
      for (; slot < last; ++slot) {
         relocate(members + slot, members + slot + 1);
      }
   }
}

} // namespace Zin
