#!/usr/bin/env bash
# docs.sh FOLDER: writes the site there: the interface as the headers say it, and the
# pages of docs/. What is not documented, and any other thing that Doxygen warns of, is an
# error.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -rf "$1"
mkdir -p "$1"
{
   cat docs/Doxyfile
   echo "OUTPUT_DIRECTORY = \"$1\""
   echo "HTML_OUTPUT = ."
   echo "PROJECT_NUMBER = $(sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)"
} | doxygen -
[ -e "$1/index.html" ]
drawn=$(find "$1" -name 'dot_inline_dotgraph_*.svg' | wc -l)
charts=$(cat README.md docs/*.md | grep -A 1 '^```mermaid$' | grep -c '^flowchart')
if [ "$drawn" -ne "$charts" ]; then
   echo "$drawn of $charts flow charts are drawn" >&2
   exit 1
fi
echo "$1/index.html"
