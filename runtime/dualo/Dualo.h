#pragma once

#include "fennlog/TraceHandle.h"
#include "pelk/Placeholders.h"
#include "pelk/Trace.h"

#include <array>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

// One message to both traces: a record in the ring, and a line in the text trace where
// the format's "%s" and "%x" are replaced, first one first, by the arguments' stream
// forms ("%x": in hexadecimal).
namespace Dualo {

// An argument that the two traces show differently, where RingForm does not make the
// difference already: differing(uint32_t{3}, state) is one unsigned in the ring.
template <Fennlog::RingArgument Ring, Fennlog::Impl::Streamed Text>
struct Differing {
   // What the ring keeps.
   Ring ring;
   // What the text trace prints.
   Text text;
};

// Makes one of the two forms, the ring's first.
template <typename Ring, typename Text>
Differing<Ring, Text> differing(Ring ring, Text text) {
   return {std::move(ring), std::move(text)};
}

template <typename Ring, typename Text>
std::ostream& operator<<(std::ostream& out, Differing<Ring, Text> const& argument) {
   Fennlog::Impl::printPlain(out, argument.text);
   return out;
}

// Where a text line comes from.
struct Origin {
   std::string_view file;
   std::string_view function;
   uint32_t line;
};

// The text line. Never inlined, so that a site is its tests, the ring record and a
// call.
template <typename Make, typename... Args>
[[gnu::noinline]] void writeText(Make, Pelk::TraceHandler const& handler,
                                 Origin const& origin, Args const&... args) {
   constexpr Fennlog::MessageFormat kFormat = Make{}();
   [[maybe_unused]] size_t place = 0;
   [[maybe_unused]] auto const printed = [&](auto const& arg) {
      std::ostringstream out;
      if (kFormat.isHexPlace(place++)) {
         out << std::hex;
      }
      Fennlog::Impl::printPlain(out, arg);
      return std::move(out).str();
   };
   std::array<std::string, sizeof...(args)> const arguments{printed(args)...};
   handler.deliver(kFormat.level, origin.file, origin.function, origin.line,
                   Pelk::replacePlaceholders(kFormat.text, arguments));
}

// Does the work of the macros: a record if there is a ring, a line if there is a
// handler. Tests no level.
template <typename Make, typename... Args>
void write(Make make, Fennlog::TraceHandle* ring, Pelk::TraceHandler const* handler,
           Origin const& origin, Args const&... args) {
   if (ring != nullptr) {
      Fennlog::write(make, *ring, args...);
   }
   if (handler != nullptr) [[unlikely]] {
      writeText(make, *handler, origin, args...);
   }
}

} // namespace Dualo

template <Fennlog::HasRawForm Ring, typename Text>
struct Fennlog::RingForm<Dualo::Differing<Ring, Text>> {
   using Raw = typename RingForm<Ring>::Raw;

   static Raw raw(Dualo::Differing<Ring, Text> const& argument) noexcept {
      return RingForm<Ring>::raw(argument.ring);
   }
   static void print(std::ostream& out, Raw const& raw) {
      RingForm<Ring>::print(out, raw);
   }
};

template <Fennlog::HasTextForm Ring, typename Text>
struct Fennlog::RingForm<Dualo::Differing<Ring, Text>> {
   static std::string_view text(Dualo::Differing<Ring, Text> const& argument) noexcept {
      return RingForm<Ring>::text(argument.ring);
   }
};

// Traces to both. ring: a Ptr or pointer to the ring, or null. handler: the text
// trace's Pelk::TraceHandler. file: its fixed source path. The ring and the text are
// written if their own bit for the level is set; no argument is evaluated if neither
// is, and each is evaluated once otherwise. The function is the enclosing one.
#define DUALO(ring, handler, level, file, format, ...)                                 \
   DUALO_IMPL(dualoTo->enabled(level), ring, handler, level, file, __func__,           \
              format __VA_OPT__(, ) __VA_ARGS__)

// The same with the function named.
#define DUALO_AS(ring, handler, level, file, function, format, ...)                    \
   DUALO_IMPL(dualoTo->enabled(level), ring, handler, level, file, function,           \
              format __VA_OPT__(, ) __VA_ARGS__)

// The same for sites that write to the ring whatever its levels are.
#define DUALO_ALWAYS(ring, handler, level, file, format, ...)                          \
   DUALO_IMPL(true, ring, handler, level, file, __func__,                              \
              format __VA_OPT__(, ) __VA_ARGS__)

// The tests come again where one of them held: a site that is off then makes each
// once, from memory, and keeps no result.
#define DUALO_IMPL(ringTest, ring, handler, textLevel, file, function, format, ...)    \
   do {                                                                                \
      auto* const dualoTo = ::Fennlog::ringOf(ring);                                   \
      if ((handler).enabled(textLevel) || (dualoTo != nullptr && (ringTest)))          \
         [[unlikely]] {                                                                \
         ::Dualo::write([] { return ::Fennlog::MessageFormat{format, textLevel}; },    \
                        dualoTo != nullptr && (ringTest) ? dualoTo : nullptr,          \
                        (handler).enabled(textLevel) ? &(handler) : nullptr,           \
                        ::Dualo::Origin{file, function, __LINE__} __VA_OPT__(, )       \
                           __VA_ARGS__);                                               \
      }                                                                                \
   } while (false)
