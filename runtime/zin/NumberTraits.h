#pragma once

#include "zin/Decimal.h"
#include "zin/ValueTraits.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

// The text form of plain numbers, as counters and keys use them.
namespace Zin {

// What the traits of all numbers have in common.
template <std::unsigned_integral T>
struct NumberTraits {
   static constexpr ValueForm form = ValueForm::number;
   static std::string toText(T value) { return std::to_string(value); }
   static T fromText(std::string_view text) { return decimalFromText<T>(text); }
};

template <>
struct ValueTraits<uint16_t> : NumberTraits<uint16_t> {
   static constexpr std::string_view name = "unsigned short";
   static constexpr std::string_view allowed = "a number below 65536";
};

template <>
struct ValueTraits<uint32_t> : NumberTraits<uint32_t> {
   static constexpr std::string_view name = "unsigned int";
   static constexpr std::string_view allowed = "a number below 4294967296";
};

} // namespace Zin
