#pragma once

#include <cstdio>

namespace Agent {

// Whether the stream is a terminal that colours and bars may be drawn on: NO_COLOR is
// not set, or is empty.
bool mayDecorate(std::FILE* stream);

// Whether the process is one of those that a terminal controls.
bool hasTerminal();

} // namespace Agent
