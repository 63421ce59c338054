#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Agent {

// Input that is refused: where it stands in its document, what stands there, and what
// is allowed. Whoever reads the document adds the name of the file and the line.
class BadInput : public std::runtime_error {
 public:
   BadInput(nlohmann::json::json_pointer pointer, std::string const& found,
            std::string const& allowed);

   // The same of a part of the input, which is named before it.
   BadInput(BadInput const& error, std::string const& part)
      : std::runtime_error(part + ": " + error.what()), pointer_(error.pointer_) {}

   nlohmann::json::json_pointer const& pointer() const noexcept { return pointer_; }

 private:
   nlohmann::json::json_pointer pointer_;
};

// Input that is refused, said whole: "file:line: /pointer: what stands there; what is
// allowed". Ends the command with status 2.
class InputError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// A value as a message quotes it: its JSON text, cut where it is long.
std::string excerpt(nlohmann::json const& value);
// A text as a message has it: what drives a terminal is escaped, and it is cut where it
// is longer than that many bytes.
std::string brief(std::string_view text, size_t most);
// A place as a message has it.
std::string placeText(nlohmann::json::json_pointer const& pointer);
// A text as a message quotes it: in quotes, cut where it is long.
std::string quote(std::string_view text);

// "file:line: " or, with line 0, "file: ".
std::string location(std::string_view file, size_t line);

} // namespace Agent
