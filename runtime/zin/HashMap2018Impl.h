#pragma once

#include "zin/HashMap2018.h"

#include <bit>

// How HashMap2018 finds members and removes them. Included by HashMap2018.h only.
namespace Zin {

template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::always_inline]] inline auto
HashMap2018<Name, Key, Value>::search(Key const& key) const -> Found {
   uint64_t const hash = hashOf(key);
   size_t const first = block_->firstSlotOf(hash);
   for (uint32_t equal = block_->equalToTagOf(hash, first); equal != 0;
        equal &= equal - 1) {
      size_t const slot = first + static_cast<uint32_t>(std::countr_zero(equal));
      Entry* const entry = entries() + slot;
      if (entry->key() == key) [[likely]] {
         if (entry == nullptr) {
            __builtin_unreachable(); // saves the caller's test
         }
         return {entry, slot};
      }
   }
   if (!block_->group(first / Impl::kGroupSlots).goesOn()) [[likely]] {
      return {nullptr, Block::kNoSlot};
   }
   return searchFar(key);
}

// In the groups in which the key's home goes on.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] auto HashMap2018<Name, Key, Value>::searchFar(Key const& key) const
   -> Found {
   auto const [home, tag] = block_->addressOf(hashOf(key));
   for (size_t number = home; block_->group(number).goesOn();) {
      number = block_->group(number).nextGroup();
      countWork(1);
      for (uint32_t equal = block_->tags(number).equal(tag); equal != 0;
           equal &= equal - 1) {
         size_t const slot =
            number * Impl::kGroupSlots + static_cast<uint32_t>(std::countr_zero(equal));
         countWork(1);
         if (entries()[slot].key() == key) {
            return {entries() + slot, slot};
         }
      }
   }
   return {nullptr, Block::kNoSlot};
}

// On which side of a member the key stands.
template <CollectionName Name, HashableKey Key, typename Value>
std::strong_ordering
HashMap2018<Name, Key, Value>::compare(Key const& key, uint64_t hash, Impl::SlotTag tag,
                                       size_t slot) const {
   countWork(1);
   auto const& tags = block_->tags(slot / Impl::kGroupSlots);
   if (auto const order = tag <=> tags.slots[slot % Impl::kGroupSlots]; order != 0) {
      return order;
   }
   Key const& present = entries()[slot].key();
   if (auto const order = (hash >> 32) <=> (hashOf(present) >> 32); order != 0) {
      return order;
   }
   return present == key  ? std::strong_ordering::equal
          : present < key ? std::strong_ordering::greater
                          : std::strong_ordering::less;
}

template <CollectionName Name, HashableKey Key, typename Value>
auto HashMap2018<Name, Key, Value>::locate(Key const& key, uint64_t hash) const
   -> Place {
   Block::Address const address = block_->addressOf(hash);
   size_t number = address.home;
   auto const isAbove = [&](uint32_t rank) {
      return compare(key, hash, address.tag, block_->slotAt(number, rank));
   };
   while (block_->group(number).goesOn() &&
          isAbove(block_->group(number).count - 1u) > 0) {
      number = block_->group(number).nextGroup();
   }
   Impl::HashGroup const& group = block_->group(number);
   uint32_t rank = block_->tags(number).below(address.tag);
   while (rank < group.count) {
      auto const order = isAbove(rank);
      if (order <= 0) {
         return {number, rank, order == 0};
      }
      ++rank;
   }
   return {number, rank, false};
}

template <CollectionName Name, HashableKey Key, typename Value>
size_t HashMap2018<Name, Key, Value>::slotFrom(Key const& key, Bound bound) const {
   if (isInline()) {
      return slotFromInline(key, bound);
   }
   Place const place = locate(key, hashOf(key));
   if (place.rank == block_->group(place.group).count) {
      return block_->slotBehind(place.group);
   }
   size_t const slot = block_->slotAt(place.group, place.rank);
   return place.found && bound == Bound::above ? block_->nextSlot(slot) : slot;
}

template <CollectionName Name, HashableKey Key, typename Value>
size_t HashMap2018<Name, Key, Value>::slotFromHash(uint32_t hash) const {
   Block::Address const address = block_->addressOf(uint64_t{hash} << 32);
   size_t number = address.home;
   auto const isBelow = [&](uint32_t rank) {
      countWork(1);
      size_t const slot = block_->slotAt(number, rank);
      auto const tag = block_->tags(number).slots[slot % Impl::kGroupSlots];
      return tag != address.tag ? tag < address.tag
                                : hashOf(entries()[slot].key()) >> 32 < hash;
   };
   while (block_->group(number).goesOn() && isBelow(block_->group(number).count - 1u)) {
      number = block_->group(number).nextGroup();
   }
   uint32_t rank = block_->tags(number).below(address.tag);
   while (rank < block_->group(number).count && isBelow(rank)) {
      ++rank;
   }
   return rank < block_->group(number).count ? block_->slotAt(number, rank)
                                             : block_->slotBehind(number);
}

template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::always_inline]] inline void HashMap2018<Name, Key, Value>::eraseAt(size_t slot) {
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
[[gnu::noinline]] bool
HashMap2018<Name, Key, Value>::keepForIterators(size_t slot) noexcept {
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

// Takes a slot whose member is destroyed out of its group.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::always_inline]] inline void
HashMap2018<Name, Key, Value>::removeSlot(size_t slot) noexcept {
   if (isInline()) {
      block_ = Block::none();
   } else if (block_->release(slot)) [[unlikely]] {
      closeGroup(slot / Impl::kGroupSlots);
   }
   --size_;
   bumpVersion();
}

template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] void
HashMap2018<Name, Key, Value>::closeGroup(size_t group) noexcept {
   size_t const from = block_->unlink(group);
   if (from == Block::kNoSlot) {
      return;
   }
   for (uint32_t used = block_->group(group).used; used != 0; used &= used - 1) {
      auto const slot = static_cast<uint32_t>(std::countr_zero(used));
      moveMember(from * Impl::kGroupSlots + slot, group * Impl::kGroupSlots + slot);
   }
}

template <CollectionName Name, HashableKey Key, typename Value>
std::optional<Value> HashMap2018<Name, Key, Value>::extract(Key const& key) {
   auto const [entry, slot] = lookUp(key);
   if (entry == nullptr) {
      return std::nullopt;
   }
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
      if (size_t const slot = static_cast<GenericIterator&>(base).slot_;
          slot != Block::kNoSlot) {
         keepForIterators(slot);
      }
   });
   if (kFirstInline && block_ == Block::none()) {
      return;
   }
   if (isInline()) {
      return dropInline();
   }
   Block* const old = std::exchange(block_, Block::none());
   size_ = 0;
   if constexpr (!std::is_trivially_destructible_v<Entry>) {
      auto* const members = static_cast<Entry*>(old->entries());
      for (size_t slot = old->firstSlot(); slot != Block::kNoSlot;
           slot = old->nextSlot(slot)) {
         members[slot].~Entry();
      }
   }
   Block::deallocate(old);
}

template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] void HashMap2018<Name, Key, Value>::destroy() noexcept {
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
   swapInline(other);
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

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::moveMember(size_t from, size_t to) noexcept {
   countWork(1);
   relocate(entries() + to, entries() + from);
   Impl::HashIteratorBase::forEach(iterators_, [=](auto& base) {
      auto& it = static_cast<GenericIterator&>(base);
      if (it.slot_ == from) {
         it.slot_ = to;
      }
   });
}

} // namespace Zin
