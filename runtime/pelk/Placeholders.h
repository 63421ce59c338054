#pragma once

#include "pelk/Export.h"

#include <span>
#include <string>
#include <string_view>

namespace Pelk {

// Replaces the "%s" and "%x" placeholders of a format, first one first, by the
// arguments' printed forms. The search goes on behind what was put in, so a
// placeholder inside an argument stays. Left-over placeholders stay; left-over
// arguments are dropped.
PELK_EXPORT std::string replacePlaceholders(std::string_view format,
                                            std::span<std::string const> arguments);

} // namespace Pelk
