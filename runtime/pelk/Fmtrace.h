#pragma once

#include "pelk/Export.h"
#include "pelk/Trace.h"

#include <cstdint>
#include <fmt/format.h>
#include <string_view>

// Trace with fmt's "{}" formats, for this project's own sources: unlike the runtime's
// other headers this one includes fmt.
namespace Pelk {

// Formats and delivers. Does not test the level.
PELK_EXPORT void vfmtrace(TraceHandler const& handler, uint16_t level,
                          std::string_view file, std::string_view function,
                          uint32_t line, fmt::string_view format,
                          fmt::format_args args);

// Delivers the formatted line if the handler's bit for the level is set. The file is
// a fixed text, never the compiler's. The format is checked when it is compiled.
//
// A call evaluates its arguments before the level can be tested; use the macros.
template <typename... Args>
void fmtrace(TraceHandler const& handler, uint16_t level, std::string_view file,
             std::string_view function, uint32_t line,
             fmt::format_string<Args const&...> format, Args const&... args) {
   if (handler.enabled(level)) {
      vfmtrace(handler, level, file, function, line, format,
               fmt::make_format_args(args...));
   }
}

} // namespace Pelk

// Pelk::fmtrace, with no argument evaluated while the level is off. The function is
// the enclosing one, or the text given.
#define PELK_FMTRACE_AS(handler, level, file, function, ...)                           \
   do {                                                                                \
      if ((handler).enabled(level)) [[unlikely]] {                                     \
         ::Pelk::fmtrace(handler, level, file, function, __LINE__, __VA_ARGS__);       \
      }                                                                                \
   } while (false)
#define PELK_FMTRACE(handler, level, file, ...)                                        \
   PELK_FMTRACE_AS(handler, level, file, __func__, __VA_ARGS__)
