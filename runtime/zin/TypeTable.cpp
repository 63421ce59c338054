#include "zin/TypeTable.h"

#include <algorithm>
#include <ostream>

namespace Zin {

namespace {

template <typename Range, typename Matches>
auto findOrNull(Range const& range, Matches matches) noexcept
   -> decltype(&*range.begin()) {
   auto const found = std::find_if(range.begin(), range.end(), matches);
   return found == range.end() ? nullptr : &*found;
}

template <typename Type>
Type const* named(std::vector<Type const*> const& types,
                  std::string_view name) noexcept {
   auto const* const found =
      findOrNull(types, [&](auto const* type) { return type->name == name; });
   return found == nullptr ? nullptr : *found;
}

void printCollection(std::ostream& out, Pelk::Entity const& entity,
                     Attribute const& attribute) {
   out << '{';
   char const* separator = " ";
   attribute.members(entity, [&](std::string const& key, std::string const& value,
                                 Pelk::Entity* child) {
      out << separator << key;
      if (child != nullptr) {
         out << ": ";
         print(out, *child);
      } else if (attribute.kind == AttributeKind::map) {
         out << ": " << value;
      }
      separator = ", ";
   });
   out << " }";
}

} // namespace

std::string initialValue(InitialValues const& values, std::string_view name,
                         std::string_view fallback) {
   auto const* const found =
      findOrNull(values, [&](auto const& value) { return value.first == name; });
   return std::string(found == nullptr ? fallback : std::string_view(found->second));
}

Attribute const* EntityType::attribute(std::string_view attributeName) const noexcept {
   return findOrNull(attributes,
                     [&](auto const& row) { return row.name == attributeName; });
}

Attribute const* EntityType::attribute(int16_t id) const noexcept {
   return findOrNull(attributes, [&](auto const& row) { return row.id == id; });
}

TypeRegistry& TypeRegistry::instance() {
   static TypeRegistry registry;
   return registry;
}

void TypeRegistry::add(EntityType const& type) {
   entityTypes_.push_back(&type);
}

void TypeRegistry::add(ValueType const& type) {
   valueTypes_.push_back(&type);
}

void TypeRegistry::remove(EntityType const& type) noexcept {
   std::erase(entityTypes_, &type);
}

void TypeRegistry::remove(ValueType const& type) noexcept {
   std::erase(valueTypes_, &type);
}

EntityType const* TypeRegistry::entityType(std::string_view name) const noexcept {
   return named(entityTypes_, name);
}

ValueType const* TypeRegistry::valueType(std::string_view name) const noexcept {
   return named(valueTypes_, name);
}

void print(std::ostream& out, Pelk::Entity const& entity) {
   auto const& type = entity.entityType();
   out << type.name << '{';
   char const* separator = " ";
   for (auto const& attribute : type.attributes) {
      out << separator << attribute.name << ": ";
      separator = ", ";
      switch (attribute.kind) {
         case AttributeKind::key:
         case AttributeKind::value:
            out << attribute.get(entity);
            break;
         case AttributeKind::pointer:
            // Named, not printed: the target is another owner's.
            if (auto const* target = attribute.target(entity)) {
               out << target->entityType().name;
            } else {
               out << "null";
            }
            break;
         default:
            printCollection(out, entity, attribute);
      }
   }
   out << " }";
}

} // namespace Zin
