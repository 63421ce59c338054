#pragma once

#include "pelk/Export.h"

#include <string>
#include <string_view>

namespace Pelk {

// The text with its control characters as \u00XX, and with bytes that are not UTF-8 as
// \xXX: names may hold any bytes, and a line for people must stay one line and must not
// drive their terminal.
PELK_EXPORT std::string printable(std::string_view text);

} // namespace Pelk
