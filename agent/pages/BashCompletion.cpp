#include "agent/pages/BashCompletion.h"

#include <string_view>

namespace Agent::Pages {

namespace {

// The tables stand between; what is the same for any program stands here.
constexpr std::string_view kHead =
   R"(# bash completion for mcastvpn-agent; made from its own help.

# Each sets "words" to what may stand there; FILE stands for the names of files.
)";

constexpr std::string_view kTail = R"(
_mcastvpn_agent() {
   local word words command= awaited= current= count=0 line=()
   COMPREPLY=()

   # Bash takes "=" for a word of its own; here it is a part of the word around it.
   for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
      if [[ ${#line[@]} -gt 0 && ( $word == = || ${line[-1]} == *= ) ]]; then
         line[-1]+=$word
      else
         line+=("$word")
      fi
   done
   current=${line[-1]}
   unset 'line[-1]'

   # Which command it is, which option waits for its value, how many arguments stand.
   for word in "${line[@]}"; do
      if [[ -n $awaited ]]; then
         awaited=
      elif [[ $word == -?* ]]; then
         _mcastvpn_agent_values "$command" "$word"
         [[ -z $words ]] || awaited=$word
      else
         _mcastvpn_agent_commands "$command"
         if [[ " $words " == *" $word "* ]]; then
            command+=${command:+ }$word
         else
            count=$((count + 1))
         fi
      fi
   done

   if [[ -n $awaited ]]; then
      _mcastvpn_agent_values "$command" "$awaited"
   elif [[ $current == --*=* ]]; then
      _mcastvpn_agent_values "$command" "${current%%=*}"
      current=${current#*=}
   elif [[ $current == -* ]]; then
      _mcastvpn_agent_options "$command"
   else
      _mcastvpn_agent_commands "$command"
      [[ -n $words ]] || _mcastvpn_agent_arguments "$command" "$count"
   fi

   if [[ $words == FILE ]]; then
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
   elif [[ $words != ANY ]]; then
      mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
      # What stands before a "=" is not what bash replaces.
      if [[ $current == *=* && $COMP_WORDBREAKS == *=* ]]; then
         COMPREPLY=("${COMPREPLY[@]#"${current%"${current##*=}"}"}")
      fi
   fi
} &&
   complete -F _mcastvpn_agent mcastvpn-agent
)";

std::string valuesOf(Option const& option) {
   if (option.isFile) {
      return "FILE";
   }
   return option.choices.empty() ? "ANY" : joined(option.choices, " ");
}

std::string line(std::string const& pattern, std::string const& words) {
   return words.empty() ? "" : "      " + pattern + ") words='" + words + "' ;;\n";
}

std::string quoted(std::string const& text) {
   return '"' + text + '"';
}

std::string table(std::string const& name, std::string const& subject,
                  std::string const& lines) {
   return "_mcastvpn_agent_" + name + "() {\n   words=\n   case " + subject + " in\n" +
          lines + "   esac\n}\n";
}

std::string commandLines(std::vector<Placed> const& all) {
   std::string lines;
   for (auto const& [path, command] : all) {
      std::vector<std::string> names;
      names.reserve(command->commands.size());
      for (auto const& each : command->commands) {
         names.push_back(each.name);
      }
      lines += line(quoted(path), joined(names, " "));
   }
   return lines;
}

std::string optionLines(std::vector<Placed> const& all) {
   std::string lines;
   for (auto const& [path, command] : all) {
      std::vector<std::string> names;
      for (auto const& option : command->options) {
         names.insert(names.end(), option.names.begin(), option.names.end());
      }
      lines += line(quoted(path), joined(names, " "));
   }
   return lines;
}

std::string valueLines(std::vector<Placed> const& all) {
   std::string lines;
   for (auto const& [path, command] : all) {
      auto const before = path + ' ';
      for (auto const& option : command->options) {
         std::vector<std::string> patterns;
         patterns.reserve(option.names.size());
         for (auto const& name : option.names) {
            patterns.push_back(quoted(before + name));
         }
         if (!option.value.empty()) {
            lines += line(joined(patterns, " | "), valuesOf(option));
         }
      }
   }
   return lines;
}

std::string argumentLines(std::vector<Placed> const& all) {
   std::string lines;
   for (auto const& [path, command] : all) {
      for (size_t at = 0; at < command->arguments.size(); ++at) {
         lines += line(quoted(path + ' ' + std::to_string(at)),
                       valuesOf(command->arguments[at]));
      }
   }
   return lines;
}

} // namespace

std::string bashCompletion(Command const& program) {
   auto const all = allCommands(program);
   return std::string(kHead) + table("commands", "$1", commandLines(all)) +
          table("options", "$1", optionLines(all)) +
          table("values", "\"$1 $2\"", valueLines(all)) +
          table("arguments", "\"$1 $2\"", argumentLines(all)) + std::string(kTail);
}

} // namespace Agent::Pages
