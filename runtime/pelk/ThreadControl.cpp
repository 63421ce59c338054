#include "pelk/ThreadControl.h"

namespace Pelk {

constinit bool ThreadControl::multiThreaded_ = false;

} // namespace Pelk
