#pragma once

#include <cstdio>

namespace Agent {

// Whether the stream is a terminal that colours and bars may be drawn on: NO_COLOR is
// not set, or is empty.
bool mayDecorate(std::FILE* stream);

} // namespace Agent
