#pragma once

#include "zin/TypeTable.h"

#include <concepts>
#include <memory>

// Makes the rows of an entity type's table (zin/TypeTable.h). Accessors are given as
// lambdas without captures, so that each row is a set of plain functions:
//
//    constexpr std::array kAttributes = {
//       valueAttribute<Status>("mlagState", Status::kMlagState,
//          [](auto const& entity) { return entity.mlagState(); },
//          [](auto& entity, Mlag::MlagState state) { entity.mlagStateIs(state); }),
//    };
namespace Zin {

// For the setter of an attribute that is fixed.
struct Fixed {};

namespace Impl {

template <typename E>
E const& as(Pelk::Entity const& entity) {
   return static_cast<E const&>(entity);
}
template <typename E>
E& as(Pelk::Entity& entity) {
   return static_cast<E&>(entity);
}

template <typename Collection>
using KeyOf = typename Collection::key_type;

template <typename Get, typename E>
using ResultOf = std::remove_cvref_t<std::invoke_result_t<Get, E const&>>;

// What all collections have in common. Get gives the collection, Del deletes a member.
template <typename E, typename Get, typename Del>
constexpr Attribute collectionAttribute(std::string_view name, int16_t id,
                                        AttributeKind kind) {
   using Collection = ResultOf<Get, E>;
   using Key = KeyOf<Collection>;
   Attribute row{name, id, kind};
   row.keyType = &valueTypeOf<Key>;
   row.size = [](Pelk::Entity const& entity) { return Get{}(as<E>(entity)).size(); };
   row.memberHas = [](Pelk::Entity const& entity, std::string_view key) {
      return Get{}(as<E>(entity)).contains(ValueTraits<Key>::fromText(key));
   };
   row.writable = !std::same_as<Del, Fixed>;
   if constexpr (!std::same_as<Del, Fixed>) {
      row.memberDel = [](Pelk::Entity& entity, std::string_view key) {
         Del{}(as<E>(entity), ValueTraits<Key>::fromText(key));
      };
   }
   return row;
}

// Walks with an iterator that stands changes of the collection. Show gives what the
// visitor is told of a member beside its key.
template <typename E, typename Get, typename Show>
constexpr auto membersOf() {
   return [](Pelk::Entity const& entity, Attribute::MemberVisitor const& visit) {
      auto const& collection = Get{}(as<E>(entity));
      using Key = KeyOf<std::remove_cvref_t<decltype(collection)>>;
      for (auto member = collection.iterate(); member; ++member) {
         Show{}(visit, ValueTraits<Key>::toText(member.key()), member.value());
      }
   };
}

} // namespace Impl

// An attribute that is fixed when the entity is made and keys it in its collection.
template <typename E, typename Get>
constexpr Attribute keyAttribute(std::string_view name, int16_t id, Get) {
   using Value = Impl::ResultOf<Get, E>;
   Attribute row{name, id, AttributeKind::key};
   row.writable = false;
   row.valueType = &valueTypeOf<Value>;
   row.get = [](Pelk::Entity const& entity) {
      return ValueTraits<Value>::toText(Get{}(Impl::as<E>(entity)));
   };
   return row;
}

template <typename E, typename Get, typename Set>
constexpr Attribute valueAttribute(std::string_view name, int16_t id, Get get, Set) {
   using Value = Impl::ResultOf<Get, E>;
   Attribute row = keyAttribute<E>(name, id, get);
   row.kind = AttributeKind::value;
   if constexpr (!std::same_as<Set, Fixed>) {
      row.writable = true;
      row.set = [](Pelk::Entity& entity, std::string_view text) {
         Set{}(Impl::as<E>(entity), ValueTraits<Value>::fromText(text));
      };
   }
   return row;
}

// Get gives the Ptr, or a plain pointer.
template <typename E, typename Get>
constexpr Attribute pointerAttribute(std::string_view name, int16_t id, Get) {
   Attribute row{name, id, AttributeKind::pointer};
   row.writable = false;
   row.target = [](Pelk::Entity const& entity) -> Pelk::Entity const* {
      return std::to_address(Get{}(Impl::as<E>(entity)));
   };
   return row;
}

template <typename E, typename Get, typename Add, typename Del>
constexpr Attribute setAttribute(std::string_view name, int16_t id, Get, Add, Del) {
   Attribute row = Impl::collectionAttribute<E, Get, Del>(name, id, AttributeKind::set);
   using Key = Impl::KeyOf<Impl::ResultOf<Get, E>>;
   row.valueType = &valueTypeOf<Unit>;
   using Show = decltype([](auto const& visit, std::string const& key, auto const&) {
      visit(key, {}, nullptr);
   });
   row.members = Impl::membersOf<E, Get, Show>();
   row.memberGet = [](Pelk::Entity const&, std::string_view) { return std::string(); };
   row.memberIs = [](Pelk::Entity& entity, std::string_view key, std::string_view) {
      Add{}(Impl::as<E>(entity), ValueTraits<Key>::fromText(key));
   };
   return row;
}

template <typename E, typename Get, typename Set, typename Del>
constexpr Attribute mapAttribute(std::string_view name, int16_t id, Get, Set, Del) {
   Attribute row = Impl::collectionAttribute<E, Get, Del>(name, id, AttributeKind::map);
   using Collection = Impl::ResultOf<Get, E>;
   using Key = Impl::KeyOf<Collection>;
   using Value = typename Collection::mapped_type;
   row.valueType = &valueTypeOf<Value>;
   using Show =
      decltype([](auto const& visit, std::string const& key, auto const& value) {
         visit(key, ValueTraits<Value>::toText(value), nullptr);
      });
   row.members = Impl::membersOf<E, Get, Show>();
   row.memberGet = [](Pelk::Entity const& entity, std::string_view key) {
      auto const* member =
         Get{}(Impl::as<E>(entity)).find(ValueTraits<Key>::fromText(key));
      return member == nullptr ? std::string()
                               : ValueTraits<Value>::toText(member->value());
   };
   row.memberIs = [](Pelk::Entity& entity, std::string_view key,
                     std::string_view value) {
      Set{}(Impl::as<E>(entity), ValueTraits<Key>::fromText(key),
            ValueTraits<Value>::fromText(value));
   };
   return row;
}

// What all children have in common, whether they are made in place, made first and put
// there whole (see adoptedChildrenAttribute), or only shown (Del is Fixed).
template <typename E, typename Child, typename Get, typename Del>
constexpr Attribute childrenAttributeBase(std::string_view name, int16_t id) {
   Attribute row =
      Impl::collectionAttribute<E, Get, Del>(name, id, AttributeKind::children);
   using Key = Impl::KeyOf<Impl::ResultOf<Get, E>>;
   row.childType = &Child::type;
   using Show =
      decltype([](auto const& visit, std::string const& key, auto const& child) {
         Pelk::Ptr<Pelk::Entity> const guard(child);
         visit(key, {}, guard.get());
      });
   row.members = Impl::membersOf<E, Get, Show>();
   row.child = [](Pelk::Entity const& entity,
                  std::string_view key) -> Pelk::Ptr<Pelk::Entity> {
      auto const* member =
         Get{}(Impl::as<E>(entity)).find(ValueTraits<Key>::fromText(key));
      return member == nullptr ? nullptr : member->value();
   };
   return row;
}

// Children that come and go with what their parent does.
template <typename E, typename Child, typename Get>
constexpr Attribute shownChildrenAttribute(std::string_view name, int16_t id, Get) {
   return childrenAttributeBase<E, Child, Get, Fixed>(name, id);
}

// Add makes a child in the collection: (entity, key, InitialValues const&) to Ptr.
template <typename E, typename Child, typename Get, typename Add, typename Del>
constexpr Attribute childrenAttribute(std::string_view name, int16_t id, Get, Add,
                                      Del) {
   Attribute row = childrenAttributeBase<E, Child, Get, Del>(name, id);
   using Key = Impl::KeyOf<Impl::ResultOf<Get, E>>;
   row.childIs = [](Pelk::Entity& entity, std::string_view key,
                    InitialValues const& values) -> Pelk::Ptr<Pelk::Entity> {
      return Add{}(Impl::as<E>(entity), ValueTraits<Key>::fromText(key), values);
   };
   return row;
}

// Adopt puts a child that was made from its key alone into the collection.
template <typename E, typename Child, typename Get, typename Adopt, typename Del>
constexpr Attribute adoptedChildrenAttribute(std::string_view name, int16_t id, Get,
                                             Adopt, Del) {
   Attribute row = childrenAttributeBase<E, Child, Get, Del>(name, id);
   using Key = Impl::KeyOf<Impl::ResultOf<Get, E>>;
   row.childNew = [](std::string_view key) -> Pelk::Ptr<Pelk::Entity> {
      return Pelk::makePtr<Child>(ValueTraits<Key>::fromText(key));
   };
   row.childAdopt = [](Pelk::Entity& entity, Pelk::Ptr<Pelk::Entity> const& child) {
      Adopt{}(Impl::as<E>(entity), Pelk::Ptr<Child>(static_cast<Child*>(child.get())));
   };
   return row;
}

} // namespace Zin
