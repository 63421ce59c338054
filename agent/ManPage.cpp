#include "agent/ManPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <vector>

namespace Agent {

namespace {

constexpr char const* kProgram = "mcastvpn-agent";
constexpr size_t kPageWidth = 80;
constexpr size_t kIndent = 4;
constexpr size_t kNameWidth = 24; // of an option or a command, beside its description

// The words of a text in lines of at most this width.
std::vector<std::string> wrapped(std::string_view text, size_t width) {
   std::vector<std::string> lines(1);
   std::istringstream in{std::string(text)};
   for (std::string word; in >> word;) {
      if (!lines.back().empty() && lines.back().size() + 1 + word.size() > width) {
         lines.emplace_back();
      }
      lines.back() += (lines.back().empty() ? "" : " ") + word;
   }
   return lines;
}

std::string indented(std::string_view line) {
   return line.empty() ? "\n" : fmt::format("{:{}}{}\n", "", kIndent, line);
}

std::string section(std::string_view title, std::string const& body) {
   return body.empty() ? "" : fmt::format("{}\n{}\n", title, body);
}

// Paragraphs are filled; lines that begin with a blank are not.
std::string prose(std::string_view text) {
   std::string result;
   std::string paragraph;
   auto const fill = [&] {
      if (!paragraph.empty()) {
         for (auto const& line : wrapped(paragraph, kPageWidth - kIndent)) {
            result += indented(line);
         }
         paragraph.clear();
      }
   };
   std::istringstream in{std::string(text)};
   for (std::string line; std::getline(in, line);) {
      if (line.empty() || line.starts_with(' ')) {
         fill();
         result += line.empty() ? "\n" : "  " + line + '\n';
      } else {
         paragraph += line + ' ';
      }
   }
   fill();
   return result;
}

// A name, and what it is for beside it.
std::string entry(std::string const& name, std::string_view text) {
   constexpr size_t column = kIndent + kNameWidth;
   std::string result = fmt::format("{:{}}{:<{}}", "", kIndent, name, kNameWidth);
   bool isFirst = name.size() < kNameWidth;
   if (!isFirst) {
      result.erase(result.find_last_not_of(' ') + 1);
      result += '\n';
   }
   for (auto const& line : wrapped(text, kPageWidth - column)) {
      result += fmt::format("{:{}}{}\n", "", isFirst ? 0 : column, line);
      isFirst = false;
   }
   return result;
}

std::string optionName(CLI::Option const& option) {
   std::string const type = option.get_type_name();
   if (option.get_positional()) {
      return option.get_name(true);
   }
   auto name = option.get_name(false, true); // "-h,--help"
   for (auto comma = name.find(','); comma != std::string::npos;
        comma = name.find(',', comma + 1)) {
      name.insert(comma + 1, " ");
   }
   if (option.get_expected_max() != 0 && !type.empty()) {
      name += ' ' + type;
   }
   return name;
}

std::string optionsOf(CLI::App const& app, bool positional) {
   std::string text;
   for (auto const* const option : app.get_options([&](CLI::Option const* each) {
           return each->get_positional() == positional;
        })) {
      auto description = option->get_description();
      description +=
         option->get_expected_max() > 1 ? "; may be given several times" : "";
      text += entry(optionName(*option), description);
   }
   return text;
}

std::string synopsis(CLI::App const& app, std::string const& command) {
   if (command.empty()) {
      return indented(fmt::format("{} COMMAND [OPTIONS] ...", kProgram));
   }
   auto text = fmt::format("{} {} [OPTIONS]", kProgram, command);
   for (auto const* const option : app.get_options(
           [](CLI::Option const* each) { return each->get_positional(); })) {
      auto const name = option->get_name(true);
      text += option->get_required() ? " " + name : " [" + name + "]";
   }
   return indented(text);
}

std::string commandsOf(CLI::App const& app) {
   std::string text;
   for (auto const* const command : app.get_subcommands({})) {
      text += entry(command->get_name(), command->get_description());
   }
   return text;
}

} // namespace

std::string ManFormatter::make_help(CLI::App const* app, std::string,
                                    CLI::AppFormatMode) const {
   bool const isProgram = app->get_parent() == nullptr;
   auto const command = isProgram ? std::string() : app->get_name();
   auto const page = pageOf(command);
   auto text = section("NAME", prose(fmt::format("{}{} - {}", kProgram,
                                                 isProgram ? "" : " " + command,
                                                 app->get_description()))) +
               section("SYNOPSIS", synopsis(*app, command)) +
               section("DESCRIPTION", prose(page.description)) +
               section("COMMANDS", commandsOf(*app)) +
               section("ARGUMENTS", optionsOf(*app, true)) +
               section("OPTIONS", optionsOf(*app, false)) +
               section("EXIT STATUS", prose(page.exitStatus)) +
               section("EXAMPLES", prose(page.examples));
   text.pop_back(); // the empty line after the last section
   return text;
}

ManPage ManFormatter::pageOf(std::string const& command) const {
   auto const found = pages_.find(command);
   return found == pages_.end() ? ManPage{} : found->second;
}

} // namespace Agent
