#pragma once

#include "pelk/Export.h"

#include <compare>
#include <cstdint>
#include <iosfwd>

namespace Kolm {

// A 16-bit priority. The lower number runs first: a task runs only while no task of a
// lower number is due.
class PELK_EXPORT TaskPriority {
 public:
   constexpr TaskPriority() noexcept = default;
   constexpr explicit TaskPriority(uint16_t value) noexcept : value_(value) {}

   constexpr uint16_t value() const noexcept { return value_; }
   constexpr auto operator<=>(TaskPriority const&) const noexcept = default;

 private:
   uint16_t value_ = 100; // leaves room on both sides
};

// Prints the number.
PELK_EXPORT std::ostream& operator<<(std::ostream& out, TaskPriority priority);

} // namespace Kolm
