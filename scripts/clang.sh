#!/usr/bin/env bash
# Prints where a tool of Clang is: scripts/clang.sh clang-tidy. The oldest release
# that the project supports comes first, so that everybody sees the same warnings;
# where there is none of it, the newest one that is installed.
set -euo pipefail

tool=$1
oldest=19
if path=$(command -v "$tool-$oldest"); then
   echo "$path"
   exit
fi
newest=$(compgen -c "$tool-" | sed -n "s/^$tool-\([0-9][0-9]*\)$/\1/p" | sort -n | tail -n 1)
if [ -z "$newest" ] || [ "$newest" -lt "$oldest" ]; then
   echo "$tool-$oldest or newer is needed: scripts/setup.sh --checks installs it" >&2
   exit 1
fi
command -v "$tool-$newest"
