#!/usr/bin/env bash
# Installs a build into an empty prefix and uses it from there, as somebody would
# who has never seen this tree. One step a call; ctest orders them, and sets:
#   CMAKE CXX          the programs of the build
#   BUILD              its folder
#   BIN LIB INCLUDE    folders below an installation's prefix
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
work=$BUILD/consumer
prefix=$work/prefix

fail() { echo "$*" >&2; exit 1; }

# What the consumer must print: the interface that its input calls for.
expect_transit_intf() {
   local printed
   printed=$("$@") || fail "$* ended with status $?"
   [ "$printed" = "Vlan10 10.0.0.1" ] || fail "$* printed: $printed"
}

build_by_pkg_config() { # source program
   local flags
   eval "flags=($(pkg-config --cflags --libs McastVpnLib))" # they are quoted words
   "$CXX" -std=c++20 -Wall -Wextra -Werror "$1" -o "$2" "${flags[@]}"
}

case $1 in
   install)
      rm -rf "$work"
      "$CMAKE" --install "$BUILD" --prefix "$prefix"
      "$prefix/$BIN/mcastvpn-agent" --version
      ;;

   # The two commands of the demonstration, from there.
   demo)
      cd "$here/../.."
      "$prefix/$BIN/mcastvpn-agent" run --verify examples/leaf-pair.jsonc |
         grep -F '8 of 13 SBD VLANs have a transit interface, 8 a join.'
      "$prefix/$BIN/mcastvpn-agent" replay --verify --state examples/minimal.jsonc \
         examples/story.jsonl | tail -n 1 | grep -F '"tests":2,"failed":0}}'
      ;;

   # No installed header includes fmt, and each that one of them names is installed.
   headers)
      cd "$prefix/$INCLUDE"
      if grep -rnE '^ *# *include +[<"]fmt/' .; then
         fail "only a header named Fmt*.h may include fmt: it is not installed"
      fi
      missing=no
      while IFS=: read -r header name; do
         [ -e "$name" ] || [ -e "McastVpnRuntime/$name" ] || {
            echo "${header#./} is installed, and includes $name, which is not"
            missing=yes
         }
      done < <(grep -roE '^ *# *include +"[^"]+"' . | sed 's/#.*"\(.*\)"/\1/; s/: */:/')
      [ "$missing" = no ]
      # All at once, so that no two of them contradict each other.
      find . -name '*.h' -printf '#include "%P"\n' | sort >"$work/all.cpp"
      [ -s "$work/all.cpp" ]
      "$CXX" -std=c++20 -Wall -Wextra -Werror -fsyntax-only \
         -I. -IMcastVpnRuntime "$work/all.cpp"
      ;;

   # What the libraries offer is this project's, and nothing of the libraries they use.
   exports)
      # In mangled names, where a template's result does not stand before its name.
      ours='8Bridging|7Fennlog|9FlumaCode|3Irb|4Kolm|2L3|5Lidra|4Mlag|4Pelk|7Routing'
      ours="$ours|4Vorn|5Vxlan|3Zin"
      for library in McastVpnRuntime McastVpnLib; do
         nm -D --defined-only "$prefix/$LIB/lib$library.so" |
            awk '{ print $NF }' >"$work/$library.offered"
         [ -s "$work/$library.offered" ]
         if grep -vE "^_Z(T[VIS]|GV)?Z?N[KVRO]*($ours)" "$work/$library.offered" |
            c++filt | grep .; then
            fail "lib$library.so offers these, which are not this project's"
         fi
         # And they need the C++ runtime and fmt, which may be a part of them.
         if readelf -d "$prefix/$LIB/lib$library.so" | grep NEEDED |
            grep -vE '\[(lib(McastVpnRuntime|fmt|stdc\+\+|m|gcc_s|c)|ld-linux[^]]*)\.so'; then
            fail "lib$library.so needs these besides the C++ runtime and fmt"
         fi
      done
      ;;

   find-package)
      "$CMAKE" -S "$here" -B "$work/find-package" \
         -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_PREFIX_PATH="$prefix"
      "$CMAKE" --build "$work/find-package"
      expect_transit_intf "$work/find-package/consumer"
      ;;

   pkg-config)
      export PKG_CONFIG_PATH=$prefix/$LIB/pkgconfig
      build_by_pkg_config "$here/consumer.cpp" "$work/by-pkg-config"
      export LD_LIBRARY_PATH=$prefix/$LIB
      expect_transit_intf "$work/by-pkg-config"
      ;;

   # The program of docs/Embedding.md: its blocks of code, one after the other, print
   # what its block of text shows.
   embedding)
      page=$here/../../docs/Embedding.md
      block() { awk -v fence="\`\`\`$1" '/^```/ { inside = $0 == fence; next } inside' "$page"; }
      block cpp >"$work/embedding.cpp"
      [ -s "$work/embedding.cpp" ]
      export PKG_CONFIG_PATH=$prefix/$LIB/pkgconfig
      build_by_pkg_config "$work/embedding.cpp" "$work/embedding"
      export LD_LIBRARY_PATH=$prefix/$LIB
      "$work/embedding" | diff <(block text) - || fail "docs/Embedding.md shows another"
      ;;

   # Neither file of the installation, nor a program in it, names the first prefix.
   move)
      moved=$work/moved
      rm -rf "$moved"
      cp -a "$prefix" "$moved"
      if grep -rlF "$prefix" "$moved"; then
         fail "these name the prefix that they were installed into"
      fi
      readelf -d "$moved/$BIN/mcastvpn-agent" | grep -q 'RUNPATH.*\$ORIGIN'
      "$moved/$BIN/mcastvpn-agent" --version
      export PKG_CONFIG_PATH=$moved/$LIB/pkgconfig
      build_by_pkg_config "$here/consumer.cpp" "$work/moved-consumer"
      export LD_LIBRARY_PATH=$moved/$LIB
      expect_transit_intf "$work/moved-consumer"
      ;;

   *) fail "no such step: $1" ;;
esac
