#pragma once

#include "zin/HashKey.h"
#include "zin/RangeException.h"
#include "zin/ValueTraits.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

// What the key types of all outputs can do, written once. A key type names itself
// (kTypeName) and lists its fields and their valid flags, by reference and in order
// (fields(), flags()).
namespace Irb::Multicast::Evpn::OutputKeyOps {

// A loop over the fields' numbers: f(std::integral_constant<size_t, i>).
template <typename Key, typename F>
constexpr void forEachField(F f) {
   constexpr size_t kFields = std::tuple_size_v<decltype(std::declval<Key&>().flags())>;
   [&]<size_t... i>(std::index_sequence<i...>) {
      (f(std::integral_constant<size_t, i>{}), ...);
   }(std::make_index_sequence<kFields>{});
}

template <typename Key>
uint32_t hash(Key const& key, Zin::HashSeed const& seed) {
   Zin::HashMixer mixer(seed);
   forEachField<Key>(
      [&](auto i) { mixer.add(Zin::hashKey(seed, std::get<i>(key.fields()))); });
   forEachField<Key>([&](auto i) {
      mixer.add(static_cast<uint8_t>(std::get<i>(key.flags()) ? 1 : 0));
   });
   return mixer.finish();
}

template <typename Key>
bool isEq(Key const& a, Key const& b) {
   return &a == &b || (a.flags() == b.flags() && a.fields() == b.fields());
}

// Field by field, then flag by flag, false before true. A pair that is unordered
// leaves it to the next one.
template <typename Key>
std::strong_ordering compare(Key const& a, Key const& b) {
   auto result = std::strong_ordering::equal;
   if (&a == &b) {
      return result;
   }
   auto const then = [&](auto const& left, auto const& right) {
      if (result == 0) {
         result = left < right   ? std::strong_ordering::less
                  : right < left ? std::strong_ordering::greater
                                 : std::strong_ordering::equal;
      }
   };
   forEachField<Key>(
      [&](auto i) { then(std::get<i>(a.fields()), std::get<i>(b.fields())); });
   forEachField<Key>(
      [&](auto i) { then(std::get<i>(a.flags()), std::get<i>(b.flags())); });
   return result;
}

// "Type{ k0: 10, k0Valid: true, k1: Null0, k1Valid: true }".
template <typename Key>
std::string toText(Key const& key) {
   std::string text(Key::kTypeName);
   forEachField<Key>([&](auto i) {
      auto const& field = std::get<i>(key.fields());
      auto const name = "k" + std::to_string(i());
      text.append(i == 0 ? "{ " : ", ").append(name).append(": ");
      text += Zin::ValueTraits<std::remove_cvref_t<decltype(field)>>::toText(field);
      text.append(", ").append(name).append("Valid: ");
      text += Zin::ValueTraits<bool>::toText(std::get<i>(key.flags()));
   });
   return text + " }";
}

// Reads what toText() writes; Zin::TextException if it is not that, and what the
// fields' own types raise. Only the last field may hold any text.
template <typename Key>
Key fromText(std::string_view text) {
   auto const fail = [text] {
      throw Zin::TextException("\"" + std::string(text) + "\" is not a " +
                               std::string(Key::kTypeName));
   };
   Key key;
   constexpr size_t kFields = std::tuple_size_v<decltype(key.flags())>;
   std::string_view rest = text;
   auto const skip = [&](std::string_view expected) {
      if (!rest.starts_with(expected)) {
         fail();
      }
      rest.remove_prefix(expected.size());
   };
   auto const upTo = [&](std::string const& mark, bool last) {
      size_t const at = last ? rest.rfind(mark) : rest.find(mark);
      if (at == std::string_view::npos) {
         fail();
      }
      auto const value = rest.substr(0, at);
      rest.remove_prefix(at + mark.size());
      return value;
   };
   skip(Key::kTypeName);
   skip("{ ");
   forEachField<Key>([&](auto i) {
      constexpr bool kLast = i() + 1 == kFields;
      auto& field = std::get<i>(key.fields());
      auto const name = "k" + std::to_string(i());
      skip(name);
      skip(": ");
      using Traits = Zin::ValueTraits<std::remove_cvref_t<decltype(field)>>;
      field = Traits::fromText(upTo(", " + name + "Valid: ", kLast));
      std::get<i>(key.flags()) =
         Zin::ValueTraits<bool>::fromText(upTo(kLast ? " }" : ", ", kLast));
   });
   if (!rest.empty()) {
      fail();
   }
   return key;
}

// Gives a key type the operations as its own: struct SomeKey : Operations<SomeKey>.
template <typename Key>
struct Operations {
   uint32_t hash(Zin::HashSeed const& seed) const {
      return OutputKeyOps::hash(self(), seed);
   }
   uint32_t hash(uint32_t seed) const { return hash(Zin::HashSeed(seed)); }

   static bool isEq(Key const& a, Key const& b) { return OutputKeyOps::isEq(a, b); }
   friend bool operator==(Key const& a, Key const& b) { return Key::isEq(a, b); }
   friend std::strong_ordering operator<=>(Key const& a, Key const& b) {
      return OutputKeyOps::compare(a, b);
   }

   // Says that every field holds a value.
   void validate() {
      forEachField<Key>(
         [&](auto i) { std::get<i>(static_cast<Key&>(*this).flags()) = true; });
   }

   static Key strepToValue(std::string_view text) {
      return OutputKeyOps::fromText<Key>(text);
   }
   friend std::ostream& operator<<(std::ostream& out, Key const& key) {
      return out << OutputKeyOps::toText(key);
   }

   // What Zin::ValueTraits asks for.
   struct Traits {
      static constexpr std::string_view name = Key::kTypeName;
      static constexpr Zin::ValueForm form = Zin::ValueForm::text;
      static constexpr std::string_view allowed = "the text form of an output's key";
      static std::string toText(Key const& key) { return OutputKeyOps::toText(key); }
      static Key fromText(std::string_view text) { return strepToValue(text); }
   };

 private:
   friend Key;
   Operations() noexcept = default;

   Key const& self() const noexcept { return static_cast<Key const&>(*this); }
};

} // namespace Irb::Multicast::Evpn::OutputKeyOps
