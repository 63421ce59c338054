#pragma once

#include <optional>

namespace Zin {

template <typename T>
using Optional = std::optional<T>;

} // namespace Zin
