#pragma once

#include "zin/HashMap2018.h"

// How a HashMap2018 works that keeps its only member in itself. It then has the shared
// table of one member (HashBlock::one()), which iterators walk as any other; what that
// table cannot know of the member stands here. Included by HashMap2018.h only.
namespace Zin {

// No hash is needed to compare with one member.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::always_inline]] inline auto
HashMap2018<Name, Key, Value>::lookUpInline(Key const& key) const -> Found {
   if (isInline()) [[likely]] {
      Entry* const entry = inlineEntry(inline_);
      return entry->key() == key ? Found{entry, 0} : Found{nullptr, Block::kNoSlot};
   }
   return size_ == 0 ? Found{nullptr, Block::kNoSlot} : searchTable(key);
}

// Out of the way of the collections that never have a table.
template <CollectionName Name, HashableKey Key, typename Value>
[[gnu::noinline]] auto HashMap2018<Name, Key, Value>::searchTable(Key const& key) const
   -> Found {
   return search(key);
}

template <CollectionName Name, HashableKey Key, typename Value>
template <typename K, typename... Args>
[[gnu::always_inline]] inline auto
HashMap2018<Name, Key, Value>::insertAt(Key const& key, K&& newKey, Args&&... args)
   -> Inserted {
   if constexpr (kFirstInline) {
      if (block_ == Block::none()) {
         auto* const entry = ::new (inline_.memory())
            Entry(std::in_place, std::forward<K>(newKey), std::forward<Args>(args)...);
         block_ = Block::one();
         size_ = 1;
         bumpVersion();
         return {entry, true};
      }
      if (isInline() && inlineEntry(inline_)->key() == key) {
         return {inlineEntry(inline_), false};
      }
   }
   return insertInTable(key, std::forward<K>(newKey), std::forward<Args>(args)...);
}

// Whether a walk from there on meets the only member: at slot 0, or kNoSlot.
template <CollectionName Name, HashableKey Key, typename Value>
size_t HashMap2018<Name, Key, Value>::slotFromInline(Key const& key,
                                                     Bound bound) const {
   Key const& member = entries()->key();
   if (member == key) {
      return bound == Bound::notBelow ? 0 : Block::kNoSlot;
   }
   HashSeed const seed = hashSeed();
   uint32_t const keyHash = hashKey(seed, key);
   uint32_t const memberHash = hashKey(seed, member);
   bool const isAhead = keyHash != memberHash ? keyHash < memberHash : key < member;
   return isAhead ? 0 : Block::kNoSlot;
}

template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::dropInline() noexcept {
   // Goes when the map is whole again: what its destructor adds takes its room.
   [[maybe_unused]] Entry const gone(std::move(*entries()));
   entries()->~Entry();
   block_ = Block::none();
   size_ = 0;
}

// The members that stand in the maps. What the maps say of them is swapped afterwards.
template <CollectionName Name, HashableKey Key, typename Value>
void HashMap2018<Name, Key, Value>::swapInline(
   [[maybe_unused]] HashMap2018& other) noexcept {
   if constexpr (kFirstInline) {
      Room room;
      auto const move = [](bool is, auto& to, auto& from) {
         if (is) {
            relocate(static_cast<Entry*>(to.memory()), inlineEntry(from));
         }
      };
      move(isInline(), room, inline_);
      move(other.isInline(), inline_, other.inline_);
      move(isInline(), other.inline_, room);
   }
}

} // namespace Zin
