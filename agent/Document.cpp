#include "agent/Document.h"

#include "agent/BadInput.h"

#include <stdexcept>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;
using Pointer = json::json_pointer;
using Zin::Attribute;
using Zin::AttributeKind;
using Zin::ValueForm;
using Zin::ValueType;

// The text that the value type reads; BadInput if the JSON value is of a wrong type.
// Names stand for numbers where the type knows some (an MLAG state).
std::string textOf(ValueType const& type, json const& value, Pointer const& at) {
   bool const fits =
      (type.form == ValueForm::text && value.is_string()) ||
      (type.form == ValueForm::number &&
       (value.is_number_unsigned() || value.is_string())) ||
      (type.form == ValueForm::boolean && value.is_boolean()) ||
      (type.form == ValueForm::unit && value.is_object() && value.empty());
   if (!fits) {
      throw BadInput(at, excerpt(value), std::string(type.allowed));
   }
   if (type.form == ValueForm::unit) {
      return {};
   }
   if (type.form == ValueForm::number && value.is_string()) {
      // A number is not written as a text.
      auto const& text = value.get_ref<std::string const&>();
      if (text.empty() || text.find_first_not_of("0123456789") == std::string::npos) {
         throw BadInput(at, excerpt(value), std::string(type.allowed));
      }
   }
   return toText(value);
}

json canonicalValue(ValueType const& type, json const& value, Pointer const& at,
                    Checks checks) {
   auto const text = textOf(type, value, at);
   try {
      return toJson(type, type.canonicalText(text, checks == Checks::plausible));
   } catch (std::logic_error const&) {
      throw BadInput(at, excerpt(value), std::string(type.allowed));
   }
}

// A set may be written as an array of keys.
json membersOfSet(Attribute const& attribute, json const& keys, Pointer const& at,
                  Checks checks) {
   json members = json::object();
   size_t index = 0;
   for (auto const& key : keys) {
      auto const place = at / index++;
      auto const canonical = canonicalValue(*attribute.keyType, key, place, checks);
      if (!members.emplace(toText(canonical), json::object()).second) {
         throw BadInput(place, excerpt(key) + " for the second time",
                        "one of each in a set");
      }
   }
   return members;
}

json canonicalCollection(Attribute const& attribute, json const& given,
                         Pointer const& at, Checks checks) {
   bool const isSet = attribute.kind == AttributeKind::set;
   if (isSet && given.is_array()) {
      return membersOfSet(attribute, given, at, checks);
   }
   if (!given.is_object()) {
      throw BadInput(at, excerpt(given),
                     isSet ? "an object or an array of keys" : "an object");
   }
   json members = json::object();
   for (auto const& [key, member] : given.items()) {
      auto const place = at / key;
      auto const canonical = canonicalKey(attribute, key, place, checks);
      auto const value = canonicalMember(attribute, member, place, checks);
      if (!members.emplace(canonical, value).second) {
         throw BadInput(place, "the key " + quote(canonical) + " for the second time",
                        "one of each");
      }
   }
   return members;
}

bool isInDocuments(Attribute const& attribute) {
   return attribute.kind != AttributeKind::key && attribute.writable;
}

// The values of the entity's own single attributes, which a new child may need.
Zin::InitialValues initialValues(json const& value) {
   Zin::InitialValues values;
   for (auto const& [name, attribute] : value.items()) {
      if (attribute.is_primitive()) {
         values.emplace_back(name, toText(attribute));
      }
   }
   return values;
}

std::vector<std::string> keysOf(Pelk::Entity const& entity,
                                Attribute const& attribute) {
   std::vector<std::string> keys;
   attribute.members(entity, [&](std::string const& key, std::string const&,
                                 Pelk::Entity*) { keys.push_back(key); });
   return keys;
}

} // namespace

std::string canonicalKey(Attribute const& attribute, std::string_view key,
                         Pointer const& at, Checks checks) {
   try {
      return attribute.keyType->canonicalText(key, checks == Checks::plausible);
   } catch (std::logic_error const&) {
      throw BadInput(at, "the key " + quote(key),
                     std::string(attribute.keyType->allowed));
   }
}

json canonicalMember(Attribute const& attribute, json const& value, Pointer const& at,
                     Checks checks) {
   return attribute.kind == AttributeKind::children
             ? canonicalEntity(attribute.childType(), value, at, checks)
             : canonicalValue(*attribute.valueType, value, at, checks);
}

json canonicalAttribute(Attribute const& attribute, json const& value,
                        Pointer const& at, Checks checks) {
   return attribute.isCollection()
             ? canonicalCollection(attribute, value, at, checks)
             : canonicalValue(*attribute.valueType, value, at, checks);
}

json canonicalEntity(Zin::EntityType const& type, json const& value, Pointer const& at,
                     Checks checks) {
   if (!value.is_object()) {
      throw BadInput(at, excerpt(value), "an object");
   }
   for (auto const& [name, member] : value.items()) {
      auto const* const attribute = type.attribute(name);
      if (attribute == nullptr || !isInDocuments(*attribute)) {
         throw BadInput(at / name, "the unknown member " + quote(name),
                        attributeNames(type));
      }
   }
   json canonical = json::object();
   for (auto const& attribute : type.attributes) {
      if (!isInDocuments(attribute)) {
         continue;
      }
      std::string const name(attribute.name);
      auto const given = value.find(name);
      canonical[name] = given == value.end()
                           ? defaultOf(attribute)
                           : canonicalAttribute(attribute, *given, at / name, checks);
   }
   return canonical;
}

json defaultOf(Attribute const& attribute) {
   return attribute.isCollection()
             ? json::object()
             : toJson(*attribute.valueType, attribute.valueType->defaultText());
}

json toJson(ValueType const& type, std::string const& text) {
   switch (type.form) {
      case ValueForm::number:
         return std::stoull(text);
      case ValueForm::boolean:
         return text == "true";
      case ValueForm::unit:
         return json::object();
      case ValueForm::text:
         break;
   }
   return text;
}

std::string toText(json const& value) {
   return value.is_string() ? value.get<std::string>() : value.dump();
}

json toJson(Pelk::Entity const& entity, Attribute const& attribute) {
   if (!attribute.isCollection()) {
      return toJson(*attribute.valueType, attribute.get(entity));
   }
   json members = json::object();
   attribute.members(entity, [&](std::string const& key, std::string const& value,
                                 Pelk::Entity* child) {
      members[key] =
         child != nullptr ? toJson(*child) : toJson(*attribute.valueType, value);
   });
   return members;
}

json toJson(Pelk::Entity const& entity) {
   json object = json::object();
   for (auto const& attribute : entity.entityType().attributes) {
      if (isInDocuments(attribute)) {
         object[std::string(attribute.name)] = toJson(entity, attribute);
      }
   }
   return object;
}

void assign(Pelk::Entity& entity, json const& value) {
   for (auto const& [name, attributeValue] : value.items()) {
      assign(entity, *entity.entityType().attribute(name), attributeValue);
   }
}

void assign(Pelk::Entity& entity, Attribute const& attribute, json const& value) {
   if (!attribute.isCollection()) {
      attribute.set(entity, toText(value));
      return;
   }
   for (auto const& key : keysOf(entity, attribute)) {
      if (!value.contains(key)) {
         attribute.memberDel(entity, key);
      }
   }
   for (auto const& [key, member] : value.items()) {
      bool const present = attribute.memberHas(entity, key);
      if (present && attribute.kind == AttributeKind::children) {
         if (auto const child = attribute.child(entity, key)) {
            assign(*child, member);
         }
      } else if (!present || (attribute.kind == AttributeKind::map &&
                              attribute.memberGet(entity, key) != toText(member))) {
         assignMember(entity, attribute, key, member);
      }
   }
}

void assignMember(Pelk::Entity& entity, Attribute const& attribute,
                  std::string const& key, json const& value) {
   if (attribute.kind != AttributeKind::children) {
      attribute.memberIs(entity, key, toText(value));
   } else if (attribute.childNew != nullptr) {
      auto const child = attribute.childNew(key);
      assign(*child, value);
      attribute.childAdopt(entity, child);
   } else {
      auto const child = attribute.childIs(entity, key, initialValues(value));
      assign(*child, value);
   }
}

std::string attributeNames(Zin::EntityType const& type) {
   std::string names;
   for (auto const& attribute : type.attributes) {
      if (isInDocuments(attribute)) {
         names += (names.empty() ? "" : ", ") + std::string(attribute.name);
      }
   }
   return names;
}

} // namespace Agent
