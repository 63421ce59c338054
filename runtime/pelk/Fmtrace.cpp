#include "pelk/Fmtrace.h"

#include <iterator>

namespace Pelk {

void vfmtrace(TraceHandler const& handler, uint16_t level, std::string_view file,
              std::string_view function, uint32_t line, fmt::string_view format,
              fmt::format_args args) {
   fmt::memory_buffer text;
   fmt::vformat_to(std::back_inserter(text), format, args);
   handler.deliver(level, file, function, line, {text.data(), text.size()});
}

} // namespace Pelk
