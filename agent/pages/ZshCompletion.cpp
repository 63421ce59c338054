#include "agent/pages/ZshCompletion.h"

#include <algorithm>

namespace Agent::Pages {

namespace {

// In single quotes, and without meaning to _arguments and _describe.
std::string zshText(std::string const& text) {
   std::string result;
   for (char const c : text) {
      if (c == '\'') {
         result += "'\\''";
         continue;
      }
      if (c == '[' || c == ']' || c == ':' || c == '\\') {
         result += '\\';
      }
      result += c;
   }
   return result;
}

std::string actionOf(Option const& option) {
   if (option.isFile) {
      return "_files";
   }
   return option.choices.empty() ? " " : '(' + joined(option.choices, " ") + ')';
}

// One word for _arguments.
std::string optionArgument(Option const& option) {
   auto const value = option.value.empty()
                         ? std::string()
                         : ':' + zshText(option.value) + ':' + actionOf(option);
   if (option.names.empty()) {
      return '\'' + value + '\'';
   }
   bool const endsAll =
      option.names.back() == "--help" || option.names.back() == "--version";
   auto const others = endsAll ? "- *" : joined(option.names, " ");
   auto const before = option.isRepeated ? std::string("'*'") : "'(" + others + ")'";
   bool const isLong = option.names.front().starts_with("--");
   auto const names = option.names.size() == 1 ? option.names.front()
                                               : '{' + joined(option.names, ",") + '}';
   return before + names + (isLong && !value.empty() ? "'=[" : "'[") +
          zshText(option.description) + ']' + value + '\'';
}

std::string functionName(std::string path) {
   std::ranges::replace(path, ' ', '_');
   std::ranges::replace(path, '-', '_');
   return path.empty() ? "_mcastvpn_agent" : "_mcastvpn_agent_" + path;
}

// A command that has others below it: which of them it is, and then as that one.
std::string branches(Placed const& placed) {
   std::string commands;
   std::string cases;
   for (auto const& each : placed.command->commands) {
      auto const path = placed.path.empty() ? each.name : placed.path + ' ' + each.name;
      commands += "            '" + each.name + ':' + zshText(each.brief) + "'\n";
      cases +=
         "            " + each.name + ") " + functionName(path) + " && result=0 ;;\n";
   }
   return "      '1: :->command' '*:: :->rest' && result=0\n"
          "   case $state in\n"
          "      command)\n"
          "         commands=(\n" +
          commands +
          "         )\n"
          "         _describe -t commands command commands && result=0 ;;\n"
          "      rest)\n"
          "         case $words[1] in\n" +
          cases +
          "         esac ;;\n"
          "   esac\n"
          "   return result\n";
}

std::string function(Placed const& placed) {
   auto const& command = *placed.command;
   bool const branching = !command.commands.empty();
   std::string text = functionName(placed.path) + "() {\n";
   if (branching) {
      text += "   local curcontext=$curcontext state line result=1\n"
              "   local -a commands\n"
              "   typeset -A opt_args\n";
   }
   text += branching ? "   _arguments -C \\\n" : "   _arguments \\\n";
   std::vector<std::string> words;
   for (auto const* const all : {&command.options, &command.arguments}) {
      for (auto const& option : *all) {
         words.push_back("      " + optionArgument(option));
      }
   }
   text += joined(words, " \\\n");
   return text + (branching ? " \\\n" + branches(placed) : "\n") + "}\n\n";
}

} // namespace

std::string zshCompletion(Command const& program) {
   std::string text =
      "#compdef mcastvpn-agent\n# Made from the program's own help.\n\n";
   for (auto const& placed : allCommands(program)) {
      text += function(placed);
   }
   return text + "_mcastvpn_agent \"$@\"\n";
}

} // namespace Agent::Pages
