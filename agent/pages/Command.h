#pragma once

#include "agent/ManPage.h"

#include <string>
#include <vector>

namespace Agent::Pages {

// An option of a command, or an argument, which has no name.
struct Option {
   std::vector<std::string> names;   // "-h", "--help"
   std::string value;                // what its value is called; empty: it takes none
   std::vector<std::string> choices; // the values, as far as they are known
   bool isFile = false;
   bool isRepeated = false;
   bool isRequired = false;
   std::string description;
};

// The program or one of its commands, with all that its help is made of.
struct Command {
   std::string name; // "mcastvpn-agent", "run"
   std::string brief;
   ManPage page;
   std::vector<Option> options;
   std::vector<Option> arguments;
   std::vector<Command> commands;
};

Command program();

// A command below the program; path: the names that lead to it, "" for the program.
struct Placed {
   std::string path;
   Command const* command;
};
std::vector<Placed> allCommands(Command const& program);

std::string joined(std::vector<std::string> const& words, std::string const& between);

} // namespace Agent::Pages
