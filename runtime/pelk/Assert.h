#pragma once

#include "pelk/Export.h"
#include "pelk/Placeholders.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

// Fatal assertions. They hold in every build type: a condition that is false is a
// programming error, and going on would write wrong state to a switch.
namespace Pelk::Impl {

// Writes "file:line: function: message" to standard error and aborts.
[[noreturn]] PELK_EXPORT void assertionFailed(char const* file, uint32_t line,
                                              char const* function,
                                              std::string_view message) noexcept;

// If the condition is false, ends the process as assertionFailed() does. The message
// is the format with each "%s" replaced by the next argument's stream form.
template <typename... Args>
void vfmassert(bool condition, char const* file, uint32_t line, char const* function,
               std::string_view format, Args const&... args) noexcept {
   if (condition) [[likely]] {
      return;
   }
   [[maybe_unused]] auto const printed = [](auto const& arg) {
      std::ostringstream out;
      out << arg;
      return out.str();
   };
   std::array<std::string, sizeof...(args)> const arguments{printed(args)...};
   assertionFailed(file, line, function, replacePlaceholders(format, arguments));
}

} // namespace Pelk::Impl

// The assertion of the runtime's own code, which names its source file.
#define PELK_ASSERT(condition, message)                                                \
   ::Pelk::Impl::vfmassert(static_cast<bool>(condition), __FILE_NAME__, __LINE__,      \
                           __func__, message)
