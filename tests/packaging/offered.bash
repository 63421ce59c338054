# offered.bash COMPLETIONS WORD...: what bash would offer in the place of the last
# word, a line each. The words are those that bash makes of a line: "=" is one.
source "$1"
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
completion=$(complete -p "$1") # "complete -F NAME PROGRAM"
completion=${completion#*-F }
"${completion%% *}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\n' "${COMPREPLY[@]}"
