#!/usr/bin/env bash
# Tries what is installed beside the libraries and the program. One step a call; ctest
# sets:
#   AGENT      the program
#   PAGES      the folder of the manual pages and completions
#   MAN        the folder of the compressed manual pages below it
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)

fail() { echo "$*" >&2; exit 1; }

same() { # what expected found
   [ "$2" = "$3" ] ||
      fail "$1:"$'\n'"$(diff <(echo "$2") <(echo "$3") || true)"
}

# The words of a section of a help that begin its entries.
entries() { # section, reads the help
   awk -v section="$1" '
      /^[A-Z]/ { inside = $0 == section }
      inside && /^    [^ ]/ {
         for (i = 1; i <= NF; ++i) {
            name = $i
            more = sub(/,$/, "", name)
            print name
            if (!more) break
         }
      }'
}
commands() { "$AGENT" --help | entries COMMANDS; }
# The program, as an empty line, and each command, a line each, with those below it.
paths() { # path
   local name
   echo "$1"
   for name in $("$AGENT" $1 --help | entries COMMANDS); do
      paths "${1:+$1 }$name"
   done
}
options() { "$AGENT" $1 --help | entries OPTIONS | sort; }

offered_by_bash() { bash "$here/offered.bash" "$PAGES/bash/mcastvpn-agent" "$@"; }
offered_by_zsh() { timeout 60 zsh -f "$here/offered.zsh" "$PAGES/zsh" "$*"; }

# What both shells are asked: the words of a line, the last one perhaps empty.
offered() {
   case $shell in
      bash) offered_by_bash "$@" ;;
      zsh) offered_by_zsh "$@" ;;
   esac
}

# The values that an option of a command takes, as the program says when it refuses.
allowed() { # command option
   { "$AGENT" "$1" "$2" '?' STATE 2>&1 || true; } |
      sed -n 's/.*allowed is \(one of \)\?//p' | sed 's/, \| or /\n/g' | sort
}

every_option() {
   local command options
   [ "$(commands | wc -l)" -ge 7 ]
   while IFS= read -r command; do
      options=$(options "$command")
      [ -n "$options" ]
      same "options of '$command'" "$options" \
         "$(offered mcastvpn-agent $command - </dev/null | sort)"
   done < <(paths '')
}

every_value() {
   local command option
   for command in run replay; do
      for option in --sm --af --mode --toggle; do
         same "values of $command $option" "$(allowed "$command" "$option")" \
            "$(offered mcastvpn-agent "$command" "$option" '' | sort)"
      done
   done
   same "values of graph --format" $'dot\nmermaid' \
      "$(offered mcastvpn-agent graph --format '' | sort)"
   same "a value that is begun" dataflow "$(offered mcastvpn-agent run --sm d)"
}

commands_and_files() {
   local folder
   folder=$(mktemp -d)
   trap "rm -rf '$folder'" EXIT
   cd "$folder"
   touch leaf.json 'spine 2.json'
   mkdir story
   same "commands" "$(commands | sort)" "$(offered mcastvpn-agent '' | sort)"
   same "commands to have help on" "$(commands | sort)" \
      "$(offered mcastvpn-agent help '' | sort)"
   same "a command that is begun" explain "$(offered mcastvpn-agent ex)"
   local line
   for line in 'run' 'run --sm both' 'run --toggle-file' 'replay --state' \
      'replay --state leaf.json'; do
      same "files for $line" $'leaf.json\nspine 2.json\nstory' \
         "$(offered mcastvpn-agent $line '' | sed 's/\\//g; s,/$,,' | sort)"
   done
   same "a file that is begun" leaf.json "$(offered mcastvpn-agent run lea)"
   same "nothing where anything may stand" "" "$(offered mcastvpn-agent run --seed '')"
}

case $1 in
   bash-options | zsh-options) shell=${1%-*} every_option ;;
   bash-values | zsh-values) shell=${1%-*} every_value ;;
   bash-files | zsh-files) shell=${1%-*} commands_and_files ;;

   # Bash takes a "=" for a word of its own.
   bash-equals)
      same "--sm=" $'both\ndataflow\nreactor' \
         "$(offered_by_bash mcastvpn-agent run --sm = '' | sort)"
      same "--sm=d" dataflow "$(offered_by_bash mcastvpn-agent run --sm = d)"
      same "--toggle NAME=" $'off\non' \
         "$(offered_by_bash mcastvpn-agent run --toggle McastVpnTransitMlag = '' | sort)"
      same "--toggle NAME=of" off \
         "$(offered_by_bash mcastvpn-agent run --toggle McastVpnTransitMlag = of)"
      ;;

   # Each page is one that man reads without a word, and has what the help has.
   man)
      while IFS= read -r command; do
         page=$MAN/mcastvpn-agent${command:+-${command// /-}}.1.gz
         warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ= MANWIDTH=200 man --warnings -E UTF-8 \
            -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
         [ -z "$warnings" ] || fail "$page: $warnings"
         # Its words without their marks, hyphenated nowhere.
         shown=$(MANWIDTH=1000 man --nh --nj -l "$page" | col -bx)
         help=$("$AGENT" $command --help)
         [ -n "$help" ]
         for section in NAME SYNOPSIS DESCRIPTION OPTIONS 'EXIT STATUS' EXAMPLES; do
            grep -qx "$section" <<<"$shown" || fail "$page has no $section"
         done
         for section in COMMANDS ARGUMENTS OPTIONS 'EXIT STATUS'; do
            same "$section of $page" "$(entries "$section" <<<"$help" | sort)" \
               "$(awk -v section="$section" '
                  /^[A-Z]/ { inside = $0 == section }
                  inside && /^       [^ ]/' <<<"$shown" |
                  sed 's/^ *//; s/ [A-Z:=]*$//; s/, /\n/' | sort)"
         done
         # The words of a description, wherever the lines end.
         words() { tr -s ' \n' '\n\n' | sed '/^$/d'; }
         same "description in $page" \
            "$(sed -n '/^DESCRIPTION/,/^[A-CE-Z]/p' <<<"$help" | sed '$d' | words)" \
            "$(sed -n '/^DESCRIPTION/,/^[A-CE-Z]/p' <<<"$shown" | sed '$d' | words)"
         [ "$(lexgrog "$page" 2>&1)" != "${page}: parse failed" ] || fail "$page: no whatis"
      done < <(paths '')
      ;;

   *) fail "no such step: $1" ;;
esac
