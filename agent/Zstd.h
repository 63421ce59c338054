#pragma once

#include <string>
#include <string_view>

// Files that zstd compresses, known by how they begin and not by their names.
namespace Agent {

bool isCompressed(std::string_view data) noexcept;

// InputError, with the name of the file, if the data are cut off or damaged, or if
// there is more in them than kMostInput: nothing is made of the rest then.
std::string decompressed(std::string_view data, std::string const& file);

std::string compressed(std::string_view text);

} // namespace Agent
