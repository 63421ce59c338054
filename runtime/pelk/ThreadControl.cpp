#include "pelk/ThreadControl.h"

namespace Pelk {

constinit uintptr_t ThreadControl::plainAbove_ = 0;

} // namespace Pelk
