#!/usr/bin/env bash
# abi.sh compare|keep BUILD: compares what the libraries of a build offer (symbols, and
# the layout of every type that they lead to) with the last release, which packaging/abi
# keeps; or keeps it there, when a release is made. BUILD has debug symbols. What is new
# is no difference: programs that were built with the release do not use it.
set -euo pipefail
cd "$(dirname "$0")/.."

build=$2
release=packaging/abi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

dump() { # library folder
   abidw --exported-interfaces-only --drop-undefined-syms --no-show-locs \
      --no-corpus-path --no-comp-dir-path --no-elf-needed --out-file "$work/$1.abi" \
      "$build/$2/$1.so"
}

status=0
while read -r library folder; do
   dump "$library" "$folder"
   case $1 in
      keep)
         mkdir -p "$release"
         xz -9 --keep --stdout "$work/$library.abi" >"$release/$library.abi.xz"
         echo "kept: $release/$library.abi.xz"
         ;;
      compare)
         xz --decompress --stdout "$release/$library.abi.xz" >"$work/release.abi"
         if abidiff --no-added-syms "$work/release.abi" "$work/$library.abi"; then
            echo "$library.so offers all that the last release did"
         else
            echo "$library.so breaks programs that were built with the last release" >&2
            status=1
         fi
         ;;
      *)
         echo "usage: abi.sh compare|keep BUILD" >&2
         exit 2
         ;;
   esac
done <<'END'
libMcastVpnRuntime runtime
libMcastVpnLib McastVpnLib
END
exit $status
