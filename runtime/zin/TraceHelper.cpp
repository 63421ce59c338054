#include "zin/TraceHelper.h"

namespace Zin {

TraceStream::TraceStream(Pelk::TraceHandler const& handler, uint16_t level,
                         std::string_view file, std::string_view function,
                         uint32_t line)
   : handler_(handler), level_(level), file_(file), function_(function), line_(line) {}

TraceStream::~TraceStream() {
   handler_.deliver(level_, file_, function_, line_, text_.view());
}

} // namespace Zin
