#!/usr/bin/env bash
# Tries at length what `.ci/run` tries in short, and keeps what each part printed in
# build/proof: those are the figures of docs/Testing.md.
#
#   scripts/proof.sh SECONDS      of exploration, soak and each fuzz target
#
# A part that fails does not keep the others from running; then it ends with 1.
set -Eeuo pipefail
trap 'echo "proof: failed at line $LINENO of $0" >&2' ERR
cd "$(dirname "$0")/.."

seconds=${1:?usage: scripts/proof.sh SECONDS}
proof=build/proof
mkdir -p "$proof"
failed=()

# part NAME COMMAND...: its results go to NAME.txt, all else to NAME.log.
part() {
   local name=$1 begin=$SECONDS end
   shift
   echo "proof: $name" >&2
   if "$@" >"$proof/$name.txt" 2>"$proof/$name.log"; then
      end=passed
   else
      end=FAILED
      failed+=("$name")
      tail -n 20 "$proof/$name.log" >&2
   fi
   echo "$name: $end, $((SECONDS - begin)) s" | tee -a "$proof/summary.txt"
}

: >"$proof/summary.txt"
part build make --silent test
part exploration build/release/tests/explore/explore \
   --seconds "$seconds" --exhaustively --out "$proof"
part soak build/release/tests/soak/soak --seconds "$seconds"
part fuzz make --silent fuzz SECONDS="$seconds"
part threads make --silent threads
part memcheck make --silent memcheck
part cppcheck make --silent cppcheck
part coverage make --silent coverage
part mutation make --silent mutation
[ ${#failed[@]} -eq 0 ] || { echo "proof: ${failed[*]} failed" >&2; exit 1; }
