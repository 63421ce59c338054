#include "agent/pages/Command.h"

#include "agent/Options.h"

#include <sstream>
#include <utility>

namespace Agent::Pages {

namespace {

std::vector<std::string> split(std::string const& text, char between) {
   std::vector<std::string> words;
   std::istringstream in(text);
   for (std::string word; std::getline(in, word, between);) {
      words.push_back(word);
   }
   return words;
}

// A check that knows all values, or many, has them as its name.
std::vector<std::string> choicesOf(CLI::Option& option) {
   try {
      return split(option.get_validator(0)->get_name(), '|');
   } catch (CLI::OptionNotFound const&) {
      return {};
   }
}

Option optionFrom(CLI::Option& option) {
   Option result;
   result.choices = choicesOf(option);
   result.isFile = option.get_type_name() == "FILE";
   result.isRepeated = option.get_expected_max() > 1;
   result.isRequired = option.get_required();
   result.description = option.get_description();
   if (option.get_positional()) {
      result.value = option.get_name(true);
   } else {
      result.names = split(option.get_name(false, true), ',');
      result.value =
         option.get_expected_max() == 0 ? std::string() : option.get_type_name();
   }
   return result;
}

Command commandFrom(CLI::App& app) {
   Command command{app.get_name(), app.get_description(), {}, {}, {}, {}};
   auto const formatter = std::dynamic_pointer_cast<ManFormatter>(app.get_formatter());
   command.page = formatter->pageOf(app.get_parent() == nullptr ? "" : command.name);
   for (auto* const option : app.get_options()) {
      (option->get_positional() ? command.arguments : command.options)
         .push_back(optionFrom(*option));
   }
   for (auto* const each : app.get_subcommands(std::function<bool(CLI::App*)>())) {
      command.commands.push_back(commandFrom(*each));
   }
   return command;
}

void place(Command const& command, std::string const& path, std::vector<Placed>& all) {
   all.push_back({path, &command});
   for (auto const& each : command.commands) {
      place(each, path.empty() ? each.name : path + ' ' + each.name, all);
   }
}

// A command that takes the name of another knows them all.
void nameCommands(Command& program) {
   for (auto& command : program.commands) {
      for (auto& argument : command.arguments) {
         if (argument.value == "COMMAND") {
            for (auto const& each : program.commands) {
               argument.choices.push_back(each.name);
            }
         }
      }
   }
}

} // namespace

Command program() {
   Command result;
   showCommands([&](CLI::App& app) { result = commandFrom(app); });
   nameCommands(result);
   return result;
}

std::vector<Placed> allCommands(Command const& program) {
   std::vector<Placed> all;
   place(program, "", all);
   return all;
}

std::string joined(std::vector<std::string> const& words, std::string const& between) {
   std::string result;
   for (auto const& word : words) {
      result += (result.empty() ? "" : between) + word;
   }
   return result;
}

} // namespace Agent::Pages
