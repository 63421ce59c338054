#!/usr/bin/env bash
# Runs fuzz targets, each for a time, and prints a line for each of what it did:
#
#   scripts/fuzz.sh BUILD SECONDS [TARGET...]      (all of them, if none is named)
#
# BUILD is the folder of a build with MCAST_FUZZ. What a run finds is kept in
# BUILD/tests/fuzz/found/TARGET, and the inputs that taught it something new in
# BUILD/tests/fuzz/learned/TARGET, with which the next run begins. Ends with 1 if
# anything was found.
set -Eeuo pipefail
trap 'echo "fuzz: failed at line $LINENO of $0" >&2' ERR

[ $# -ge 2 ] || { echo "usage: $0 BUILD SECONDS [TARGET...]" >&2; exit 2; }
build=$(realpath "$1")
seconds=$2
shift 2
tools=$(realpath "$(dirname "$0")")
source=$(realpath "$tools/../tests/fuzz")
# So that what is found is told with functions and lines.
if symbolizer=$("$tools/clang.sh" llvm-symbolizer 2>/dev/null) ||
   symbolizer=$(command -v llvm-symbolizer); then
   export ASAN_SYMBOLIZER_PATH=$symbolizer
fi

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
   for corpus in "$source"/corpus/*/; do
      targets+=("$(basename "$corpus")")
   done
fi

# The number behind a statistic's name, or behind a word of the fuzzer's last line.
statistic() { sed -n "s/^stat::$1: *//p" "$2"; }
last() { sed -n "s/^#.*\<$1: \([0-9]*\).*/\1/p" "$2" | tail -n 1; }

fuzz() {
   local target=$1 found learned log begin status=0
   local program=$build/tests/fuzz/$target
   found=$build/tests/fuzz/found/$target
   learned=$build/tests/fuzz/learned/$target
   log=$build/tests/fuzz/$target.log
   mkdir -p "$found" "$learned"
   local options=(-max_total_time="$seconds" -seed=1 -print_final_stats=1
      -rss_limit_mb=2048 -timeout=10 -reload=0
      -artifact_prefix="$found/")
   [ ! -e "$source/$target.dict" ] || options+=(-dict="$source/$target.dict")
   local inputs=("$source/corpus/$target")
   [ ! -d "$source/findings/$target" ] || inputs+=("$source/findings/$target")
   begin=$SECONDS
   "$program" "${options[@]}" "$learned" "${inputs[@]}" >"$log" 2>&1 || status=$?
   printf '%-14s %9s executions, %6s edges, %5s inputs, %4s MB, %4s s: %s\n' "$target" \
      "$(statistic number_of_executed_units "$log")" "$(last cov "$log")" \
      "$(last corp "$log")" "$(statistic peak_rss_mb "$log")" $((SECONDS - begin)) \
      "$([ "$status" -eq 0 ] && echo "nothing found" || echo "FOUND SOMETHING")"
   [ "$status" -ne 0 ] || return 0
   grep -v '^#' "$log" | tail -n 60
   echo "fuzz: $target has ended with status $status; its whole output: $log"
   local input
   for input in "$found"/*; do
      [ ! -e "$input" ] || echo "fuzz: to play it again: $program $input"
   done
   return 1
}

status=0
for target in "${targets[@]}"; do
   fuzz "$target" || status=1
done
exit $status
