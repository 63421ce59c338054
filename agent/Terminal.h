#pragma once

#include <cstdio>

namespace Agent {

// Whether the stream is a terminal that colours and bars may be drawn on: NO_COLOR is
// not set, or is empty.
bool mayDecorate(std::FILE* stream);

// Writes everything out; false if something could not be written.
bool flushed(std::FILE* stream);

} // namespace Agent
