#include "zin/RangeException.h"

namespace Zin {

RangeException::~RangeException() = default;
TextException::~TextException() = default;

} // namespace Zin
