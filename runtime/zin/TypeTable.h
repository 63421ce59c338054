#pragma once

#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "zin/ValueTraits.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The generic interface: every entity type has a table of its attributes, through
// which they are read, written and walked by name and in text form. Glue only: the
// accessors call the entity's own operations, which check, store and notify.
//
// zin/AttributeMakers.h makes the rows. Event thread only, like the entities.
namespace Zin {

// What an attribute holds.
enum class AttributeKind {
   key,      // fixed when the entity is made; its key in its collection
   value,    // a single value
   pointer,  // a reference to another entity, or null; read only here
   set,      // a keyed collection without values
   map,      // a keyed collection of values
   children, // a keyed collection of entities
};

// The values of a new child's own attributes, by name, in text form.
using InitialValues = std::vector<std::pair<std::string_view, std::string>>;
// The value of the named attribute, or the fallback.
PELK_EXPORT std::string initialValue(InitialValues const& values, std::string_view name,
                                     std::string_view fallback);

// An attribute of a type of entities, and how generic code reads and writes it.
struct Attribute {
   // Called with a member's key, its value (empty for sets and children) and, for
   // children, the child. The collection may be changed from inside.
   using MemberVisitor = std::function<void(
      std::string const& key, std::string const& value, Pelk::Entity* child)>;

   std::string_view name;
   // What notifications call it. Frozen.
   int16_t id;
   // What it holds.
   AttributeKind kind;
   // Whether generic code may set it.
   bool writable = true;
   ValueType const* keyType = nullptr;   // of a collection
   ValueType const* valueType = nullptr; // of a value, a set (Unit) or a map
   // A function, since the tables of types that hold each other refer to each other.
   EntityType const& (*childType)() noexcept = nullptr;

   // Key, value, pointer (the target; null if none).
   std::string (*get)(Pelk::Entity const&) = nullptr;
   void (*set)(Pelk::Entity&, std::string_view text) = nullptr;
   Pelk::Entity const* (*target)(Pelk::Entity const&) = nullptr;

   // Collections. Members are visited in the collection's own order.
   size_t (*size)(Pelk::Entity const&) = nullptr;
   bool (*memberHas)(Pelk::Entity const&, std::string_view key) = nullptr;
   void (*members)(Pelk::Entity const&, MemberVisitor const&) = nullptr;
   void (*memberDel)(Pelk::Entity&, std::string_view key) = nullptr;
   // Set, map.
   std::string (*memberGet)(Pelk::Entity const&, std::string_view key) = nullptr;
   void (*memberIs)(Pelk::Entity&, std::string_view key,
                    std::string_view value) = nullptr;
   // Children: the present one (null if none), and one that is there afterwards.
   Pelk::Ptr<Pelk::Entity> (*child)(Pelk::Entity const&,
                                    std::string_view key) = nullptr;
   Pelk::Ptr<Pelk::Entity> (*childIs)(Pelk::Entity&, std::string_view key,
                                      InitialValues const& values) = nullptr;
   // Children that are made first and published whole, with one notification: makes
   // one that is not in the collection, and puts it there or in the place of another.
   Pelk::Ptr<Pelk::Entity> (*childNew)(std::string_view key) = nullptr;
   void (*childAdopt)(Pelk::Entity&, Pelk::Ptr<Pelk::Entity> const& child) = nullptr;

   // Whether it has members that are found by a key.
   bool isCollection() const noexcept {
      return kind == AttributeKind::set || kind == AttributeKind::map ||
             kind == AttributeKind::children;
   }
};

// What generic code knows about a type of entities.
struct PELK_EXPORT EntityType {
   std::string_view name;
   // Every attribute that generic code knows.
   std::span<Attribute const> attributes;

   // The attribute of that name, or of that id; null if there is none.
   Attribute const* attribute(std::string_view attributeName) const noexcept;
   Attribute const* attribute(int16_t id) const noexcept;
};

// Every registered entity and value type by its full name; null if there is none.
class PELK_EXPORT TypeRegistry {
 public:
   // That of the process.
   static TypeRegistry& instance();

   // Makes the type known, which stays where it is until it is removed.
   void add(EntityType const& type);
   void add(ValueType const& type);
   // Each makes the type unknown again.
   void remove(EntityType const& type) noexcept;
   void remove(ValueType const& type) noexcept;
   // Each gives the type of that name, or null.
   EntityType const* entityType(std::string_view name) const noexcept;
   ValueType const* valueType(std::string_view name) const noexcept;
   // Each has all that are known, in the order in which they became so.
   std::vector<EntityType const*> const& entityTypes() const noexcept {
      return entityTypes_;
   }
   std::vector<ValueType const*> const& valueTypes() const noexcept {
      return valueTypes_;
   }

 private:
   std::vector<EntityType const*> entityTypes_;
   std::vector<ValueType const*> valueTypes_;
};

// Registers a type while the library that holds it is loaded. Type is EntityType or
// ValueType.
template <typename Type>
class TypeRegistration {
 public:
   explicit TypeRegistration(Type const& type) : type_(type) {
      TypeRegistry::instance().add(type_);
   }
   ~TypeRegistration() { TypeRegistry::instance().remove(type_); }
   TypeRegistration(TypeRegistration const&) = delete;
   TypeRegistration& operator=(TypeRegistration const&) = delete;

 private:
   Type const& type_;
};

// Prints the entity with everything below it: "Type{ a: 1, b: { k: v }, c: { k } }".
PELK_EXPORT void print(std::ostream& out, Pelk::Entity const& entity);

} // namespace Zin
