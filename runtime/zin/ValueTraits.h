#pragma once

#include "pelk/Export.h"

#include <string>
#include <string_view>

// The text form of value types, both ways, as the generic interface uses it.
namespace Zin {

// How a document writes a value of the type.
enum class ValueForm {
   text,    // a string
   number,  // an unsigned decimal number
   boolean, // true or false
   unit,    // nothing: the member of a set has no value
};

// The member of a set: no value.
struct Unit {
   bool operator==(Unit const&) const noexcept = default;
};

// A value type, registered: specialise for each.
//
//   name                the type's full name
//   form, allowed       how a document writes it, and in words what it may hold
//   toText(T)           its text form
//   fromText(text)      the value; RangeException or TextException where the type
//                       cannot hold it
//   isPlausible(T)      whether a document may say it: false for what the type can
//                       hold and the system never means
template <typename T>
struct ValueTraits;

// The same for whoever does not know the type.
struct ValueType {
   std::string_view name;
   ValueForm form;
   std::string_view allowed;
   // The text form of a default value.
   std::string (*defaultText)();
   std::string (*toText)(void const* value);
   // Throws like fromText(). With plausible set, also refuses what is not plausible.
   std::string (*canonicalText)(std::string_view text, bool plausible);
};

// Raises the RangeException of a text whose value is not plausible.
[[noreturn]] PELK_EXPORT void throwImplausible(std::string_view text);

// What generic code knows about values of type T: its traits as a table.
template <typename T>
inline constexpr ValueType valueTypeOf{
   ValueTraits<T>::name,
   ValueTraits<T>::form,
   ValueTraits<T>::allowed,
   [] { return ValueTraits<T>::toText(T()); },
   [](void const* value) {
      return ValueTraits<T>::toText(*static_cast<T const*>(value));
   },
   [](std::string_view text, bool plausible) {
      T const value = ValueTraits<T>::fromText(text);
      if constexpr (requires { ValueTraits<T>::isPlausible(value); }) {
         if (plausible && !ValueTraits<T>::isPlausible(value)) {
            throwImplausible(text);
         }
      }
      return ValueTraits<T>::toText(value);
   },
};

template <>
struct ValueTraits<Unit> {
   static constexpr std::string_view name = "FlumaCode::Unit";
   static constexpr ValueForm form = ValueForm::unit;
   static constexpr std::string_view allowed = "{}";
   static std::string toText(Unit) { return {}; }
   static Unit fromText(std::string_view) { return {}; }
};

template <>
struct ValueTraits<bool> {
   static constexpr std::string_view name = "bool";
   static constexpr ValueForm form = ValueForm::boolean;
   static constexpr std::string_view allowed = "true or false";
   static std::string toText(bool value) { return value ? "true" : "false"; }
   PELK_EXPORT static bool fromText(std::string_view text);
};

} // namespace Zin
