#!/usr/bin/env bash
# Runs what is quick enough for it under valgrind's memcheck: scripts/memcheck.sh BUILD.
# Its own errors and memory that is lost end with status 99.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
program=$build/agent/mcastvpn-agent

checked() {
   valgrind --quiet --error-exitcode=99 --leak-check=full \
      --errors-for-leak-kinds=definite,possible --num-callers=30 "$@" >/dev/null
}

# What dies on purpose leaves what it had; the others take too long.
without='-*Death*:*Random*:*Thousand*:*Memory*:ShareTest.ATimeShare*'
for name in kolm vorn values entities transitsm transitintfsm; do
   echo "memcheck: $name"
   checked "$build/tests/$name/${name}_tests" --gtest_filter="$without"
done

for state in examples/*.jsonc; do
   echo "memcheck: $state"
   for command in "run --verify" explain plan "run --sm both"; do
      status=0
      # shellcheck disable=SC2086 # several words
      checked "$program" $command "$state" || status=$?
      [ $status -ne 99 ] || exit 99
   done
done
echo "memcheck: examples/story.jsonl"
checked "$program" replay --state examples/minimal.jsonc examples/story.jsonl
