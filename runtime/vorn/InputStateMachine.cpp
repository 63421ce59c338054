#include "vorn/InputStateMachine.h"

namespace Vorn::Gen {

InputStateMachine::~InputStateMachine() = default;

void InputStateMachine::zinDoZombieReactors(bool) {}

} // namespace Vorn::Gen
