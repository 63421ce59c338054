#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// JSON: read as people write it, where comments are allowed and a repeated key is not,
// and written.
namespace Agent {

// The value that the text holds. InputError, with file and line, if it is not JSON, if
// an object has a key twice, if it is nested deeper than 64 levels, or if it holds more
// than four million values: what is read takes many times the room of its text.
// firstLine is the number of the text's first line in its file.
nlohmann::json parseJson(std::string_view text, std::string const& file,
                         size_t firstLine = 1);

// The line of the text on which the element of the pointer begins, or that of its
// nearest present parent; the first line for the document itself.
size_t lineOf(std::string_view text, nlohmann::json::json_pointer const& pointer);

// The unescaped steps of a pointer.
std::vector<std::string> tokensOf(nlohmann::json::json_pointer pointer);

// A value as text: on one line, or each part on a line of its own, with so many blanks
// for each level. Bytes in it that are not UTF-8 are replaced.
std::string jsonText(nlohmann::json const& value, int indent = -1);
std::string jsonText(nlohmann::ordered_json const& value, int indent = -1);
// The same of a string.
std::string jsonText(std::string_view string);

} // namespace Agent
