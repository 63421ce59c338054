#pragma once

#include <optional>

namespace Zin {

// A value or none, as streams pass it.
template <typename T>
using Optional = std::optional<T>;

} // namespace Zin
