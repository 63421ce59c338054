#pragma once

#include "pelk/Export.h"
#include "pelk/Trace.h"

#include <cstdint>
#include <sstream>
#include <string_view>

// Stream-style trace, for printers that write to a stream.
namespace Zin {

// Collects one line and delivers it when it goes. Made only while the level is on.
class PELK_EXPORT TraceStream {
 public:
   TraceStream(Pelk::TraceHandler const& handler, uint16_t level, std::string_view file,
               std::string_view function, uint32_t line);
   TraceStream(TraceStream const&) = delete;
   TraceStream& operator=(TraceStream const&) = delete;
   ~TraceStream();

   // Where the text of the line is put together.
   std::ostream& stream() noexcept { return text_; }

 private:
   Pelk::TraceHandler const& handler_;
   uint16_t level_;
   std::string_view file_;
   std::string_view function_;
   uint32_t line_;
   std::ostringstream text_;
};

// A facility, a level and a source path, for the lines that a printer writes.
class PELK_EXPORT TraceHelper {
 public:
   TraceHelper(Pelk::TraceHandler const& handler, uint16_t level,
               std::string_view file) noexcept
      : handler_(handler), level_(level), file_(file) {}

   bool enabled() const noexcept { return handler_.enabled(level_); }
   // One line, which is traced when the stream goes.
   TraceStream line(std::string_view function, uint32_t number) const {
      return TraceStream(handler_, level_, file_, function, number);
   }

 private:
   Pelk::TraceHandler const& handler_;
   uint16_t level_;
   std::string_view file_;
};

} // namespace Zin

// ZIN_TRACE(helper) << a << b; is one line. Nothing behind it is evaluated while the
// helper's level is off.
#define ZIN_TRACE(helper)                                                              \
   if (!(helper).enabled()) [[likely]] {                                               \
   } else                                                                              \
      (helper).line(__func__, __LINE__).stream()
