#!/bin/sh
# manpages.sh SOURCES PAGES: makes a compressed manual page of each scdoc source, dated
# by SOURCE_DATE_EPOCH, so that the same sources give the same bytes.
set -eu
rm -rf "$2"
mkdir -p "$2"
for source in "$1"/*.scd; do
   page=$2/$(basename "$source" .scd)
   scdoc <"$source" >"$page"
   gzip -n9 "$page"
done
