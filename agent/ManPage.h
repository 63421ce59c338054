#pragma once

#include <CLI/CLI.hpp>

#include <map>
#include <string>
#include <string_view>

namespace Agent {

// What the help on a command says besides its options. Paragraphs end with an empty
// line and are filled; a line that begins with a blank is not.
struct ManPage {
   std::string_view description;
   std::string_view exitStatus;
   std::string_view examples;
};

// Lays the help out as a manual page: name, synopsis, description, arguments, options,
// exit status, examples.
class ManFormatter final : public CLI::Formatter {
 public:
   // pages: by the name of the command; that of the program by "".
   explicit ManFormatter(std::map<std::string, ManPage> pages)
      : pages_(std::move(pages)) {}

   std::string make_help(CLI::App const* app, std::string name,
                         CLI::AppFormatMode mode) const override;

   // That of a command, by its name; an empty one if it has none.
   ManPage pageOf(std::string const& command) const;

 private:
   std::map<std::string, ManPage> pages_;
};

} // namespace Agent
