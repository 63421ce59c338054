#pragma once

#include <string>
#include <string_view>

namespace Agent {

// Makes the file hold the text: all of it, or what it held before. What is no regular
// file, a pipe or a device, is written to. InputError if it cannot be written.
void replaceFile(std::string const& file, std::string_view text);

} // namespace Agent
