#include "agent/pages/ManSource.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace Agent::Pages {

namespace {

bool isDigit(char c) {
   return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

// A text in which nothing is a mark of scdoc's.
std::string escaped(std::string_view text) {
   std::string result;
   for (char const c : text) {
      if (std::string_view("\\*_#[]|<>`.-+;~").find(c) != std::string_view::npos) {
         result += '\\';
      }
      result += c;
   }
   return result;
}

std::string bold(std::string const& text) {
   return '*' + escaped(text) + '*';
}
std::string underlined(std::string const& text) {
   return '_' + escaped(text) + '_';
}

std::string section(std::string const& title, std::string const& body) {
   return body.empty() ? "" : "# " + title + "\n\n" + body;
}

std::string entry(std::string const& head, std::string const& text) {
   return head + "\n\t" + text + "\n\n";
}

// Paragraphs, and as they stand the lines that begin with a blank.
std::string prose(std::string_view text) {
   std::string result;
   bool isLiteral = false;
   std::istringstream in{std::string(text)};
   for (std::string line; std::getline(in, line);) {
      bool const begins = line.starts_with(' ') && !isLiteral;
      bool const ends = !line.empty() && !line.starts_with(' ') && isLiteral;
      if (begins || ends) {
         result += "```\n";
         isLiteral = begins;
      }
      if (isLiteral) {
         result += line.empty() ? "\n" : line.substr(2) + '\n';
      } else {
         result += escaped(line) + '\n';
      }
   }
   if (isLiteral) {
      result += "```\n";
   }
   return result.empty() ? result : result + '\n';
}

// Each status with its meaning: lines "  10  something would change".
std::string statuses(std::string_view text) {
   std::string result;
   std::istringstream in{std::string(text)};
   for (std::string line; std::getline(in, line);) {
      std::istringstream words(line);
      std::string first;
      std::string rest;
      words >> first >> std::ws;
      std::getline(words, rest);
      if (!first.empty() && std::ranges::all_of(first, isDigit)) {
         result += result.empty() ? "" : "\n\n";
         result += bold(first);
         result += "\n\t";
         result += escaped(rest);
      } else {
         result += "\n\t";
         result += escaped(first);
         result += ' ';
         result += escaped(rest);
      }
   }
   return result.empty() ? result : result + "\n\n";
}

std::string namesOf(Option const& option) {
   std::string names;
   for (auto const& name : option.names) {
      names += (names.empty() ? "" : ", ") + bold(name);
   }
   auto const value = option.value.empty() ? "" : underlined(option.value);
   return names + (names.empty() || value.empty() ? "" : " ") + value;
}

std::string entriesOf(std::vector<Option> const& options) {
   std::string text;
   for (auto const& option : options) {
      text += entry(namesOf(option),
                    escaped(option.description +
                            (option.isRepeated ? "; may be given several times" : "")));
   }
   return text;
}

std::string reference(std::string const& name) {
   return bold(name) + "(1)";
}

std::string synopsis(Command const& program, Placed const& placed) {
   auto text = bold(program.name);
   if (!placed.path.empty()) {
      text += ' ' + bold(placed.path);
   }
   if (!placed.command->commands.empty()) {
      text += ' ' + underlined("COMMAND");
   }
   text += " \\[" + underlined("OPTIONS") + "\\]";
   for (auto const& argument : placed.command->arguments) {
      auto const name = underlined(argument.value);
      text += argument.isRequired ? ' ' + name : " \\[" + name + "\\]";
   }
   return text + (placed.command->commands.empty() ? "\n\n" : " ...\n\n");
}

std::string commandsOf(Command const& program, Placed const& placed) {
   std::string text;
   for (auto const& each : placed.command->commands) {
      auto const path = placed.path.empty() ? each.name : placed.path + ' ' + each.name;
      text += entry(bold(each.name),
                    escaped(each.brief) + "; see " + reference(manName(program, path)));
   }
   return text;
}

// The pages of the commands below and above; of the others, the program's.
std::string related(Command const& program, Placed const& placed) {
   std::vector<std::string> pages;
   for (auto const& each : allCommands(program)) {
      bool const isNear = placed.path.empty() || each.path.empty() ||
                          each.path.starts_with(placed.path + ' ') ||
                          placed.path.starts_with(each.path + ' ');
      if (isNear && each.path != placed.path) {
         pages.push_back(reference(manName(program, each.path)));
      }
   }
   return joined(pages, ", ") + "\n";
}

} // namespace

std::string manName(Command const& program, std::string const& path) {
   auto name = program.name + (path.empty() ? "" : "-" + path);
   std::ranges::replace(name, ' ', '-');
   return name;
}

std::string manSource(Command const& program, Placed const& placed,
                      std::string const& version) {
   auto const& command = *placed.command;
   auto const name = manName(program, placed.path);
   return name + "(1) \"" + version + "\" \"User Commands\"\n\n" +
          section("NAME", name + " - " + escaped(command.brief) + "\n\n") +
          section("SYNOPSIS", synopsis(program, placed)) +
          section("DESCRIPTION", prose(command.page.description)) +
          section("COMMANDS", commandsOf(program, placed)) +
          section("ARGUMENTS", entriesOf(command.arguments)) +
          section("OPTIONS", entriesOf(command.options)) +
          section("EXIT STATUS", statuses(command.page.exitStatus)) +
          section("EXAMPLES", prose(command.page.examples)) +
          section("SEE ALSO", related(program, placed));
}

} // namespace Agent::Pages
