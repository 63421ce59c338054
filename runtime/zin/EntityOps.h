#pragma once

#include "pelk/Entity.h"
#include "zin/ValueTraits.h"

#include <cstdint>
#include <type_traits>
#include <utility>

// What every entity's setters do, written once: store, bump the version, announce.
// Publishing is the last step, since a callback may drop the entity's last use; key and
// value are copies of the caller's, readable until the last callback returns.
//
// For the value that a notification carries see Pelk::Subscriber::Callback; the value
// of a child is the child, as a Pelk::Entity const.
namespace Zin {

// A single value: nothing happens when it stays the same.
template <typename T>
[[gnu::always_inline]] inline void attributeIs(Pelk::Publisher& entity, int16_t id,
                                               T& attribute,
                                               std::type_identity_t<T> value) {
   if (attribute == value) {
      return;
   }
   attribute = value;
   entity.publishChangeRecursive(id, nullptr, &value);
}

// Adds a member to a set, whose members may be records: nothing happens when it is
// there.
template <typename Collection, typename Key, typename Value = Unit>
void memberIs(Pelk::Publisher& entity, int16_t id, Collection& members, Key key,
              Value value = {}) {
   if (members.insert(key, value).inserted) {
      entity.publishChangeRecursive(id, &key, &value);
   }
}

// Inserts or overwrites a member of a map; announced also if the value is the same.
template <typename Collection, typename Key, typename Value>
void memberValueIs(Pelk::Publisher& entity, int16_t id, Collection& members, Key key,
                   Value value) {
   members.assign(key, value);
   entity.publishChangeRecursive(id, &key, &value);
}

// The child at the key, or null.
template <typename Collection, typename Key>
auto child(Collection const& children, Key const& key) {
   auto const* const present = children.find(key);
   return present != nullptr ? present->value() : nullptr;
}

// A child, made of the key and what follows, and announced; there must be none.
template <typename Collection, typename Key, typename... Args>
auto childMade(Pelk::Publisher& entity, int16_t id, Collection& children, Key key,
               Args const&... args) {
   using Child = typename Collection::mapped_type::element_type;
   auto made = Pelk::makePtr<Child>(key, args...);
   children.insert(key, made);
   Pelk::Entity const* const announced = made.get();
   entity.publishChangeRecursive(id, &key, announced);
   return made;
}

// The child at the key; made if it is not there.
template <typename Collection, typename Key, typename... Args>
auto childIs(Pelk::Publisher& entity, int16_t id, Collection& children, Key const& key,
             Args const&... args) {
   if (auto const* const present = children.find(key)) {
      return present->value();
   }
   return childMade(entity, id, children, key, args...);
}

// Removes a member: nothing happens when it is not there. Returns what was removed.
template <typename Collection, typename Key>
auto memberDel(Pelk::Publisher& entity, int16_t id, Collection& members, Key key) {
   auto removed = members.extract(key);
   if (removed) {
      entity.publishChangeRecursive(id, &key, nullptr);
   }
   return removed;
}

// Removes every member, each with its own notification, in the collection's order.
template <typename Collection>
void memberDelAll(Pelk::Entity& entity, int16_t id, Collection& members) {
   Pelk::Ptr const guard(&entity);
   for (auto member = members.iterate(); member; ++member) {
      auto const key = member.key();
      members.erase(key);
      entity.publishChangeRecursive(id, &key, nullptr);
   }
}

} // namespace Zin
