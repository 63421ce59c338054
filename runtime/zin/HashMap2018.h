#pragma once

#include "pelk/Assert.h"
#include "zin/HashBlock.h"
#include "zin/HashInline.h"
#include "zin/HashIterator.h"
#include "zin/HashKey.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <type_traits>
#include <utility>

namespace Zin {

// What names a collection:
//    struct TransitVrf {
//       static constexpr char const* name = "transitVrf";
//       static constexpr uint32_t seed = 0x...;
//    };
template <typename Name>
concept CollectionName = requires {
   { Name::name } -> std::convertible_to<char const*>;
   { Name::seed } -> std::convertible_to<uint32_t>;
};

// The value of a collection that is a set of keys.
struct NoValue {
   constexpr bool operator==(NoValue const&) const noexcept = default;
};

// A keyed collection, whose members stand in one total order: by their seeded hash,
// then by key. The order depends on nothing else, so that neither
// growth nor a removal reorders it, and a key stands for a place in it (a bookmark)
// whether or not it is a member. Walks that are interrupted and resumed at the next
// member's key therefore lose no member and meet none twice, whatever changed in
// between.
//
// The collection counts its changes, and notifies nobody: whoever owns it does, after
// the change. Event thread only. An empty map owns no memory; nor does one of a single
// member, if its name wants that (keepsFirstInline).
//
// Pointers and references to members last until the next change. If memory is short, or
// a constructor throws, the map stays as it was. A removed value is destroyed when the
// map is whole again, so its destructor may use the map.
template <CollectionName Name, HashableKey Key, typename Value = NoValue>
class HashMap2018 : private Impl::HashMapBase {
   using Block = Impl::HashBlock;

 public:
   using key_type = Key;
   using mapped_type = Value;
   using Entry = HashEntry<Key, Value>;
   using value_type = Entry;
   // The iterator by which scans go on where they stopped, though the map changes.
   using GenericIterator = HashMapIterator<HashMap2018>;

   // For a walk during which the map does not change.
   using iterator = HashForwardIterator<Entry>;
   using const_iterator = HashForwardIterator<Entry const>;

   static_assert(std::is_nothrow_move_constructible_v<Value>);
   static_assert(std::is_nothrow_swappable_v<Value>);
   static_assert(std::is_nothrow_destructible_v<Entry>);
   static_assert(alignof(Entry) <= 16);

   HashMap2018() noexcept = default;
   // Requires that no GenericIterator stands on either map.
   HashMap2018(HashMap2018&& other) noexcept { swap(other); }
   HashMap2018& operator=(HashMap2018&& other) noexcept {
      HashMap2018(std::move(other)).swap(*this);
      return *this;
   }
   ~HashMap2018() {
      if (block_ != Block::none() || iterators_ != nullptr) {
         destroy();
      }
   }

   static constexpr char const* name() noexcept { return Name::name; }
   // The seed of this collection's hashes, as hashKey() takes it.
   static HashSeed hashSeed() noexcept {
      return HashSeed(HashHelper::hashSeed32() ^ Name::seed ^ kHashSingleAttrSalt);
   }

   size_t size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }

   // A 23-bit number that is another after each change.
   uint32_t version() const noexcept { return version_; }
   // Makes the version another, as a change does.
   void bumpVersion() noexcept { version_ = (version_ + 1) & kVersionMask; }

   // The member of the key, or null.
   Entry const* find(Key const& key) const { return findEntry(key); }
   Entry* find(Key const& key) { return findEntry(key); }
   bool contains(Key const& key) const { return findEntry(key) != nullptr; }

   // What insert() found or made.
   struct Inserted {
      // The member; never null.
      Entry* entry;
      // Whether it is new.
      bool inserted;
   };
   // Adds a member with a value made of the arguments, unless the key is present; then
   // nothing changes, and the arguments are left alone.
   template <typename... Args>
   Inserted insert(Key const& key, Args&&... args) {
      return insertAt(key, key, std::forward<Args>(args)...);
   }
   template <typename... Args>
   Inserted insert(Key&& key, Args&&... args) {
      return insertAt(key, std::move(key), std::forward<Args>(args)...);
   }
   // Adds a member or gives the present one the new value: a change in either case.
   template <typename V>
      requires std::constructible_from<Value, V>
   Inserted assign(Key const& key, V&& value) {
      Entry* const present = findEntry(key);
      if (present == nullptr) {
         return insert(key, std::forward<V>(value));
      }
      Value fresh(std::forward<V>(value));
      bumpVersion();
      std::ranges::swap(present->value(), fresh);
      return {present, false};
   }
   // Takes the member out, if there is one. The key may be the member's own.
   bool erase(Key const& key) {
      Found const found = lookUp(key);
      if (found.entry == nullptr) {
         return false;
      }
      eraseAt(found.slot);
      return true;
   }
   // Takes out the member that the iterator stands on, which it then keeps. False if it
   // was removed already.
   bool erase(GenericIterator& at) {
      if (at.slot_ == Block::kNoSlot) {
         return false;
      }
      eraseAt(at.slot_);
      return true;
   }
   // Takes the member out and returns its value. An iterator that stands on it keeps
   // the key and a copy of the value (what it is after a move, if it has no copies).
   std::optional<Value> extract(Key const& key);

   // Removes all members in one change, if there are any.
   void clear() noexcept;
   // Makes room for that many members. Not a change.
   void reserve(size_t count);

   iterator begin() noexcept { return forward<iterator>(); }
   const_iterator begin() const noexcept { return forward<const_iterator>(); }
   std::default_sentinel_t end() const noexcept { return {}; }

   // At the first member, or at the first one not below the bookmark.
   GenericIterator iterate() const noexcept { return GenericIterator(*this); }
   GenericIterator iterate(Key const& bookmark) const {
      return GenericIterator(*this, bookmark);
   }

   // The seed of the order that the members stand in; an empty map may take another.
   HashSeed const& orderSeed() const noexcept
      requires(!keepsFirstInline<Name>)
   {
      return block_->seed();
   }
   // At the first member whose hash by that seed is not below the given one: for an
   // index of a map's members, which need not keep their keys.
   GenericIterator iterateFromHash(uint32_t hash) const
      requires(!keepsFirstInline<Name>)
   {
      return GenericIterator(*this, hash, {});
   }

   // Requires that no GenericIterator stands on either map.
   void swap(HashMap2018& other) noexcept;

 private:
   friend GenericIterator;

   static constexpr uint32_t kVersionMask = (1u << 23) - 1;
   // Up to this many members a home, chains come from hashes that are alike.
   static constexpr uint32_t kFewOnAverage = 4;

   // Among the members of a group: where a key stands or, if it does not, belongs.
   struct Place {
      size_t group;
      uint32_t rank;
      bool found;
   };
   enum class Bound { notBelow, above };
   struct Found {
      Entry* entry; // null if there is none
      size_t slot;
   };

   // A collection that wants its work counted says so in its name; see the tests.
   static void countWork([[maybe_unused]] uint32_t steps) noexcept {
      if constexpr (requires { Name::countWork(steps); }) {
         Name::countWork(steps);
      }
   }

   static constexpr bool kFirstInline = keepsFirstInline<Name>;

   // Whether the only member stands in the map itself.
   bool isInline() const noexcept {
      if constexpr (kFirstInline) {
         return block_ == Block::one();
      } else {
         return false;
      }
   }
   [[gnu::always_inline]] Entry* entries() const noexcept {
      if constexpr (kFirstInline) {
         if (isInline()) {
            return inlineEntry(inline_);
         }
      }
      return static_cast<Entry*>(block_->entries());
   }
   uint64_t hashOf(Key const& key) const { return hashKeyWide(block_->seed(), key); }
   Entry* findEntry(Key const& key) const { return lookUp(key).entry; }
   [[gnu::always_inline]] Found lookUp(Key const& key) const {
      if constexpr (kFirstInline) {
         return lookUpInline(key);
      } else {
         return search(key);
      }
   }
   template <typename Iterator>
   Iterator forward() const noexcept {
      return isInline() ? Iterator(entries()) : Iterator(entries(), *block_);
   }
   size_t firstSlot() const noexcept { return isInline() ? 0 : block_->firstSlot(); }
   size_t nextSlot(size_t slot) const noexcept {
      return isInline() ? Block::kNoSlot : block_->nextSlot(slot);
   }
   Found lookUpInline(Key const& key) const;
   Found searchTable(Key const& key) const;
   Found search(Key const& key) const;
   Found searchFar(Key const& key) const;
   Place locate(Key const& key, uint64_t hash) const;
   std::strong_ordering compare(Key const& key, uint64_t hash, Impl::SlotTag tag,
                                size_t slot) const;
   // The first member on that side of the key, or kNoSlot.
   size_t slotFrom(Key const& key, Bound bound) const;
   size_t slotFromHash(uint32_t hash) const;
   size_t slotFromInline(Key const& key, Bound bound) const;

   template <typename K, typename... Args>
   Inserted insertAt(Key const& key, K&& newKey, Args&&... args);
   template <typename K, typename... Args>
   Inserted insertInTable(Key const& key, K&& newKey, Args&&... args);
   template <typename K, typename... Args>
   Inserted insertFar(Key const& key, K&& newKey, Args&&... args);
   template <typename... Args>
   Inserted addAt(Place const& place, Impl::SlotTag tag, Args&&... args);
   bool hasRoom(size_t group) const noexcept {
      return size_ < block_->shape().maxSize &&
             block_->group(group).count < block_->shape().groupSlots;
   }
   Place makeRoom(Key const& key, uint64_t& hash, Place place);
   void rehash(Impl::HashShape const& shape);
   Place spill(Place place);
   void eraseAt(size_t slot);
   void removeSlot(size_t slot) noexcept;
   void closeGroup(size_t group) noexcept;
   bool keepForIterators(size_t slot) noexcept;
   void destroy() noexcept; // what the destructor has to do
   void dropAll() noexcept;
   void dropInline() noexcept;
   void swapInline(HashMap2018& other) noexcept;
   void moveMember(size_t from, size_t to) noexcept;

   static void relocate(Entry* to, Entry* from) noexcept;

   using Room =
      std::conditional_t<kFirstInline, Impl::InlineRoom<sizeof(Entry), alignof(Entry)>,
                         Impl::NoRoom>;
   [[gnu::always_inline]] static Entry* inlineEntry(Room const& room) noexcept {
      return std::launder(static_cast<Entry*>(room.memory()));
   }
   [[no_unique_address]] Room inline_;
};

} // namespace Zin

#include "zin/HashMap2018Growth.h"
#include "zin/HashMap2018Impl.h"
#include "zin/HashMap2018Inline.h"
