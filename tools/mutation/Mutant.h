#pragma once

// What a mutated source asks at each of its mutants. A process has one active mutant,
// or none, or notes which ones it reaches; see Mutant.cpp.
extern "C" [[gnu::visibility("default")]] unsigned mutationActive;
extern "C" [[gnu::visibility("default")]] void
mutationReached(unsigned number) noexcept;

namespace Mutation {

inline constexpr unsigned kNotesAll = ~0u;

// Whether this mutant is the active one. Never while the compiler evaluates.
[[gnu::always_inline]] constexpr bool mutant(unsigned number) noexcept {
   if (__builtin_is_constant_evaluated()) {
      return false;
   }
   if (mutationActive == kNotesAll) {
      mutationReached(number);
   }
   return mutationActive == number;
}

// "left < right" and "left > right", of which the mutant takes in the equal ones.
[[gnu::always_inline]] constexpr auto less(unsigned number, auto const& left,
                                           auto const& right) {
   return mutant(number) ? left <= right : left < right;
}
[[gnu::always_inline]] constexpr auto greater(unsigned number, auto const& left,
                                              auto const& right) {
   return mutant(number) ? left >= right : left > right;
}
// "left <= right" and "left >= right", of which the mutant leaves out the equal ones.
[[gnu::always_inline]] constexpr auto lessEqual(unsigned number, auto const& left,
                                                auto const& right) {
   return mutant(number) ? left < right : left <= right;
}
[[gnu::always_inline]] constexpr auto greaterEqual(unsigned number, auto const& left,
                                                   auto const& right) {
   return mutant(number) ? left > right : left >= right;
}

} // namespace Mutation
