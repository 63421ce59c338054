#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

// Checks of single option values. Each gives the message of what stands there and what
// is allowed, or an empty text.
namespace Agent {

// What stands there and what is allowed, as all messages say it.
std::string refusal(std::string const& text, std::string const& allowed);

// Its name lists the choices, with a bar between two.
CLI::Validator oneOf(std::vector<std::string> const& choices);
CLI::Validator numberFrom(uint32_t least,
                          uint32_t most = std::numeric_limits<uint32_t>::max());
std::optional<uint32_t> numberOf(std::string const& text);

std::string checkFile(std::string const& text);
// Of what has a name and is no standard stream: anything but an empty text.
std::string checkName(std::string const& text);
// Of a file that is no standard stream.
std::string checkRealFile(std::string const& text);
// Their names list choices too, but of many.
CLI::Validator toggleState();
CLI::Validator traceLevels();

} // namespace Agent
