#pragma once

#include "pelk/Entity.h"
#include "zin/TypeTable.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// Entities as JSON, driven by their type tables: no entity is known by name here.
//
// The canonical form has every attribute (what is left out stands with its default), an
// object for every keyed collection, {} for the member of a set, and numbers where the
// value's type says so.
namespace Agent {

// Which values a document may hold.
enum class Checks {
   plausible, // what the system means
   unchecked, // whatever the C++ types can hold
};

// The canonical form of a document's value for an entity of the type, for one of its
// attributes, for a member of a collection, for a key. BadInput, with the pointer, if
// it is not one.
nlohmann::json canonicalEntity(Zin::EntityType const& type, nlohmann::json const& value,
                               nlohmann::json::json_pointer const& at, Checks checks);
nlohmann::json canonicalAttribute(Zin::Attribute const& attribute,
                                  nlohmann::json const& value,
                                  nlohmann::json::json_pointer const& at,
                                  Checks checks);
nlohmann::json canonicalMember(Zin::Attribute const& attribute,
                               nlohmann::json const& value,
                               nlohmann::json::json_pointer const& at, Checks checks);
std::string canonicalKey(Zin::Attribute const& attribute, std::string_view key,
                         nlohmann::json::json_pointer const& at, Checks checks);

// What stands for an attribute that is left out.
nlohmann::json defaultOf(Zin::Attribute const& attribute);

// The canonical form of what the entity holds, of one of its attributes, of a value.
nlohmann::json toJson(Pelk::Entity const& entity);
nlohmann::json toJson(Pelk::Entity const& entity, Zin::Attribute const& attribute);
nlohmann::json toJson(Zin::ValueType const& type, std::string const& text);
// The text form of a canonical value.
std::string toText(nlohmann::json const& value);

// Makes the entity, or one of its attributes, hold the canonical value, through the
// operations that make the difference: removals first, then additions and changes, each
// in the order of the keys.
void assign(Pelk::Entity& entity, nlohmann::json const& value);
void assign(Pelk::Entity& entity, Zin::Attribute const& attribute,
            nlohmann::json const& value);
// Gives the collection's member the canonical value, whether or not it is there. A
// child that is published whole takes the place of the one before.
void assignMember(Pelk::Entity& entity, Zin::Attribute const& attribute,
                  std::string const& key, nlohmann::json const& value);

// The names of the attributes that a document may give, for a message.
std::string attributeNames(Zin::EntityType const& type);

} // namespace Agent
