#pragma once

#include "zin/HashBlock.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

// The iterators of HashMap2018. Event thread only.
namespace Zin {

namespace Impl {

class HashIteratorBase;

// What a map is without the types of its members.
class HashMapBase {
 public:
   HashMapBase() noexcept = default;
   HashMapBase(HashMapBase const&) = delete;
   HashMapBase& operator=(HashMapBase const&) = delete;

 protected:
   friend class HashIteratorBase;

   HashBlock* block_ = HashBlock::none();
   // Any one of the ring of iterators that stand on this map, or null.
   mutable HashIteratorBase* iterators_ = nullptr;
   uint32_t size_ = 0;
   uint32_t version_ = 0;
};

// An iterator's place in the ring of iterators of its map. The map corrects the slot
// when members move. The ring outlives the map.
class HashIteratorBase {
 public:
   HashIteratorBase(HashIteratorBase const&) = delete;
   HashIteratorBase& operator=(HashIteratorBase const&) = delete;

   // For the map: calls f(iterator) for each iterator of a ring.
   template <typename F>
   static void forEach(HashIteratorBase* first, F f) {
      if (first == nullptr) {
         return;
      }
      HashIteratorBase* it = first;
      do {
         f(*it);
         it = it->next_;
      } while (it != first);
   }

 protected:
   explicit HashIteratorBase(HashMapBase const& map) noexcept : map_(&map) {
      if (HashIteratorBase* const other = map.iterators_; other != nullptr) {
         next_ = other;
         previous_ = other->previous_;
         previous_->next_ = this;
         other->previous_ = this;
      }
      // Laundered, since GCC would warn that it outlives the iterator.
      map.iterators_ = std::launder(this);
   }
   ~HashIteratorBase() {
      if (map_ != nullptr && map_->iterators_ == this) {
         map_->iterators_ = next_ == this ? nullptr : next_;
      }
      previous_->next_ = next_;
      next_->previous_ = previous_;
   }

   HashMapBase const* map_; // null when the map is gone
   HashIteratorBase* next_ = this;
   HashIteratorBase* previous_ = this;
   // Which iterator keeps the member that this one stands on, if it was removed.
   HashIteratorBase* keeper_ = nullptr;
   size_t slot_ = HashBlock::kNoSlot;
   size_t movedTo_ = 0; // while the table grows
};

} // namespace Impl

// Walks a map that does not change meanwhile, group by group.
template <typename E>
class HashForwardIterator {
 public:
   using iterator_category = std::forward_iterator_tag;
   using value_type = std::remove_const_t<E>;
   using difference_type = std::ptrdiff_t;
   using pointer = E*;
   using reference = E&;

   HashForwardIterator() noexcept = default;
   // For the map: at its first member.
   HashForwardIterator(E* entries, Impl::HashBlock const& block) noexcept
      : entries_(entries), block_(&block) {
      enter(block.firstHome());
   }
   // For a map of one member, which stands in the map itself.
   explicit HashForwardIterator(E* only) noexcept : base_(only), left_(1) {}

   reference operator*() const noexcept { return base_[order_.first()]; }
   pointer operator->() const noexcept { return &**this; }
   HashForwardIterator& operator++() noexcept {
      order_.removeFirst();
      if (--left_ == 0) {
         leaveGroup();
      }
      return *this;
   }
   HashForwardIterator operator++(int) noexcept {
      HashForwardIterator const before = *this;
      ++*this;
      return before;
   }
   bool operator==(HashForwardIterator const& other) const noexcept {
      return left_ == other.left_ && base_ == other.base_;
   }
   bool operator==(std::default_sentinel_t) const noexcept { return left_ == 0; }

 private:
   void leaveGroup() noexcept {
      enter(block_ == nullptr ? Impl::HashBlock::kNoSlot : block_->groupBehind(group_));
   }
   void enter(size_t group) noexcept {
      if (group == Impl::HashBlock::kNoSlot) {
         base_ = nullptr;
         return;
      }
      group_ = group;
      order_ = block_->group(group).order;
      left_ = block_->group(group).count;
      base_ = entries_ + group * Impl::kGroupSlots;
   }

   E* base_ = nullptr; // of the group's first slot
   Impl::SlotOrder order_;
   uint32_t left_ = 0; // of the group's members: those not passed yet
   size_t group_ = 0;
   E* entries_ = nullptr;
   Impl::HashBlock const* block_ = nullptr;
};

// Walks a map while the map changes: members inserted ahead are met, members removed
// ahead are not, and no other is lost or met twice. The member that the iterator
// stands on stays readable when it is removed, and when the map is destroyed; a
// removed member's successor is the first member above it. One that has reached the
// end stays there.
//
// Nothing is copied for that: the map knows its iterators (keep few of them), and a
// removed member is moved into the iterator that stands on it. Not copyable; it may
// outlive the map. For walks during which the map does not change, begin() and end()
// are the faster way.
template <typename Map>
class HashMapIterator : private Impl::HashIteratorBase {
 public:
   using Key = typename Map::key_type;
   using Value = typename Map::mapped_type;
   using Entry = typename Map::Entry;

   // At the first member.
   explicit HashMapIterator(Map const& map) noexcept : HashIteratorBase(map) {
      slot_ = map.firstSlot();
   }
   // At the bookmark, or where it would stand: at the first member not below it.
   HashMapIterator(Map const& map, Key const& bookmark) : HashIteratorBase(map) {
      slot_ = map.slotFrom(bookmark, Map::Bound::notBelow);
   }
   // At the first member whose hash is not below.
   struct ByHash {};
   HashMapIterator(Map const& map, uint32_t hash, ByHash) : HashIteratorBase(map) {
      slot_ = map.slotFromHash(hash);
   }
   ~HashMapIterator() { leave(); }

   // Whether it stands on a member, be it a removed one.
   explicit operator bool() const noexcept { return valid(); }
   // The same under a name.
   bool valid() const noexcept {
      return slot_ != Impl::HashBlock::kNoSlot || keeper_ != nullptr;
   }
   // Whether the member that it stands on was removed from the map.
   bool stale() const noexcept { return keeper_ != nullptr; }

   // Each requires valid(). A reference lasts until the map changes or the iterator
   // moves.
   Key const& key() const noexcept { return entry().key(); }
   Value const& value() const noexcept { return entry().value(); }
   Entry const& entry() const noexcept {
      if (keeper_ != nullptr) [[unlikely]] {
         return static_cast<HashMapIterator const*>(keeper_)->kept();
      }
      return static_cast<Map const*>(map_)->entries()[slot_];
   }

   // To the next member; true if there is one.
   bool next() {
      if (slot_ != Impl::HashBlock::kNoSlot) [[likely]] {
         slot_ = map().nextSlot(slot_);
      } else if (keeper_ != nullptr) {
         slot_ = map_ == nullptr ? Impl::HashBlock::kNoSlot
                                 : map().slotFrom(key(), Map::Bound::above);
         leave();
      }
      return valid();
   }
   HashMapIterator& operator++() {
      next();
      return *this;
   }

 private:
   friend Map;

   Map const& map() const noexcept { return static_cast<Map const&>(*map_); }
   Entry& kept() noexcept { return *std::launder(reinterpret_cast<Entry*>(storage_)); }
   Entry const& kept() const noexcept {
      return *std::launder(reinterpret_cast<Entry const*>(storage_));
   }

   // For the map: the member goes, and stays readable here.
   template <typename... Args>
   void keep(Args&&... args) noexcept {
      ::new (static_cast<void*>(storage_)) Entry(std::forward<Args>(args)...);
      keeper_ = this;
      slot_ = Impl::HashBlock::kNoSlot;
   }
   void share(HashMapIterator& keeper) noexcept {
      keeper_ = &keeper;
      slot_ = Impl::HashBlock::kNoSlot;
   }

   // Leaves a removed member: to the other iterators that stand on it, if any do.
   void leave() noexcept {
      if (keeper_ == this) {
         HashMapIterator* heir = nullptr;
         forEach(next_, [&](HashIteratorBase& other) {
            auto& sharer = static_cast<HashMapIterator&>(other);
            if (sharer.keeper_ == this && &sharer != this) {
               if (heir == nullptr) {
                  heir = &sharer;
                  heir->keep(std::move(kept()));
               } else {
                  sharer.share(*heir);
               }
            }
         });
         kept().~Entry();
      }
      keeper_ = nullptr;
   }

   alignas(Entry) std::byte storage_[sizeof(Entry)];
};

} // namespace Zin
