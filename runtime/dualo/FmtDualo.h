#pragma once

#include "dualo/Dualo.h"
#include "pelk/Fmtrace.h"

// One message to both traces, for formats with "{}": the ring takes the arguments as
// Dualo.h has it, the text line is Pelk::fmtrace's. Includes fmt; for this project's
// own sources.
namespace Dualo {

template <typename Make, typename... Args>
[[gnu::noinline]] void fmtWrite(Make make, Fennlog::TraceHandle* ring,
                                Pelk::TraceHandler const* handler, Origin const& origin,
                                fmt::format_string<Args const&...> format,
                                Args const&... args) {
   if (ring != nullptr) {
      Fennlog::write(make, *ring, args...);
   }
   if (handler != nullptr) {
      Pelk::vfmtrace(*handler, Make{}().level, origin.file, origin.function,
                     origin.line, format, fmt::make_format_args(args...));
   }
}

} // namespace Dualo

// To the ring always, to the text trace if its bit for the level is set; the function
// is the one named. No argument is evaluated if neither is on.
#define DUALO_FMT_ALWAYS_AS(ring, handler, textLevel, file, function, format, ...)     \
   do {                                                                                \
      auto* const dualoRing = ::Fennlog::ringOf(ring);                                 \
      bool const dualoToText = (handler).enabled(textLevel);                           \
      if (dualoRing != nullptr || dualoToText) [[unlikely]] {                          \
         ::Dualo::fmtWrite(                                                            \
            [] {                                                                       \
               return ::Fennlog::MessageFormat{format, textLevel,                      \
                                               ::Fennlog::Placeholders::brace};        \
            },                                                                         \
            dualoRing, dualoToText ? &(handler) : nullptr,                             \
            ::Dualo::Origin{file, function, __LINE__},                                 \
            format __VA_OPT__(, ) __VA_ARGS__);                                        \
      }                                                                                \
   } while (false)
#define DUALO_FMT_ALWAYS(ring, handler, textLevel, file, format, ...)                  \
   DUALO_FMT_ALWAYS_AS(ring, handler, textLevel, file, __func__,                       \
                       format __VA_OPT__(, ) __VA_ARGS__)
