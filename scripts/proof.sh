#!/usr/bin/env bash
# Tries at length what `.ci/run` tries in short, and keeps what each part printed in
# build/proof: those are the figures of docs/Testing.md.
#
#   scripts/proof.sh SECONDS      of exploration, soak and each fuzz target
#
# A part that fails does not keep the others from running; then it ends with 1. Run again
# it repeats what failed or was interrupted; what passed, over the same sources and at the
# same length, stands as it is.
set -Eeuo pipefail
trap 'echo "proof: failed at line $LINENO of $0" >&2' ERR
cd "$(dirname "$0")/.."

seconds=${1:?usage: scripts/proof.sh SECONDS}
proof=build/proof
mkdir -p "$proof"
failed=()

# What the figures are of: the sources, but not the pages on which they stand.
sources=$({
   git ls-files -z --cached --others --exclude-standard -- \
      . ':!docs' ':!README.md' ':!benchmarks' | xargs -0 sha256sum
   echo "$seconds ${MUTATION:-}"
} | sha256sum | cut -d ' ' -f 1)

# part NAME COMMAND...: its results go to NAME.txt, all else to NAME.log.
part() {
   local name=$1 begin=$SECONDS end
   shift
   # What the others run is built in any case, though there may be nothing to do.
   if [ "$name" != build ] && [ -e "$proof/$name.txt" ] &&
      [ "$(head -n 1 "$proof/$name.passed" 2>/dev/null)" = "$sources" ]; then
      tail -n 1 "$proof/$name.passed" | tee -a "$proof/summary.txt"
      return
   fi
   rm -f "$proof/$name.passed"
   echo "proof: $name" >&2
   if "$@" >"$proof/$name.txt" 2>"$proof/$name.log"; then
      end="$name: passed, $((SECONDS - begin)) s"
      printf '%s\n' "$sources" "$end" >"$proof/$name.passed"
   else
      end="$name: FAILED, $((SECONDS - begin)) s"
      failed+=("$name")
      tail -n 20 "$proof/$name.log" >&2
   fi
   echo "$end" | tee -a "$proof/summary.txt"
}

: >"$proof/summary.txt"
part build make --silent test
part exploration build/release/tests/explore/explore \
   --seconds "$seconds" --exhaustively --out "$proof"
part soak build/release/tests/soak/soak --seconds "$seconds"
part fuzz make --silent fuzz SECONDS="$seconds"
part threads make --silent threads
part memcheck make --silent memcheck
part headers make --silent headers
part cppcheck make --silent cppcheck
part coverage make --silent coverage
part mutation make --silent mutation
[ ${#failed[@]} -eq 0 ] || { echo "proof: ${failed[*]} failed" >&2; exit 1; }
