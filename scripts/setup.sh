#!/usr/bin/env bash
# Installs what the build needs and this machine lacks. Safe to run again: when
# nothing is missing it says nothing and touches no network.
#
#   scripts/setup.sh            to build and test
#   scripts/setup.sh --bench    also what the benchmarks compare with
#   scripts/setup.sh --checks   also Clang with its sanitizers, linter and formatter,
#                               and the other tools that look for faults
#   scripts/setup.sh --packages also what makes and tries Debian packages, manual pages
#                               and completions
#   scripts/setup.sh --docs     also what makes the documentation's site
#   scripts/setup.sh --browser  also the browser that looks at the agent's reports
#   scripts/setup.sh --mutation also libclang for Python, which reads what is mutated
#
# Debian 12 or newer, as root or through sudo.
set -Eeuo pipefail
trap 'echo "set-up: failed at line $LINENO of $0" >&2' ERR
cd "$(dirname "$0")/.."

packages=(g++ cmake make ninja-build ccache pkgconf
   nlohmann-json3-dev libcli11-dev prometheus-cpp-dev libsystemd-dev
   libzstd-dev libgtest-dev libgmock-dev)
bench_packages=(libbenchmark-dev libabsl-dev libboost-dev libspdlog-dev
   libsqlite3-dev valgrind)
checks_packages=(cppcheck gcovr python3 valgrind)
packages_packages=(scdoc man-db zsh dpkg-dev lintian abigail-tools xz-utils debootstrap
   systemd procps)
docs_packages=(doxygen graphviz python3)
browser_packages=(chromium fonts-dejavu-core)
mutation_packages=(python3 python3-clang-19)
oldest_clang=19
oldest_fmt=10
fmt_release=trixie # the first Debian release whose fmt is new enough

say() { printf 'set-up: %s\n' "$*"; }
fail() { printf 'set-up: %s\n' "$*" >&2; exit 1; }

as_root=()
become_root() {
   if [ "$(id -u)" -ne 0 ]; then
      command -v sudo >/dev/null ||
         fail "packages are missing: run this as root, or install sudo"
      as_root=(sudo)
   fi
}

# Runs a command silently; what it printed is shown only when it fails.
quietly() {
   local log
   log=$(mktemp)
   if ! "$@" >"$log" 2>&1; then
      tail -n 40 "$log" >&2
      rm -f "$log"
      return 1
   fi
   rm -f "$log"
}

apt() {
   "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get -q -y -o DPkg::Lock::Timeout=300 "$@"
}

# The package lists are fetched at most once a run, and only if something is missing.
lists_are_fresh=no
refresh_lists() {
   [ "$lists_are_fresh" = no ] || return 0
   become_root
   say "fetching the package lists"
   quietly apt update || fail "the package lists cannot be fetched"
   lists_are_fresh=yes
}

installed() {
   [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

install_missing() {
   local package missing=()
   for package in "$@"; do
      installed "$package" || missing+=("$package")
   done
   [ ${#missing[@]} -gt 0 ] || return 0
   refresh_lists
   say "installing ${missing[*]}"
   quietly apt install --no-install-recommends --no-remove "${missing[@]}" ||
      fail "these packages cannot be installed: ${missing[*]}"
}

# --- Clang -------------------------------------------------------------------

# The release of Clang to use: the oldest one supported where there is a choice,
# so that everybody has the same warnings; otherwise the newest there is.
choose_clang() { # reads release numbers
   sort -n | awk -v oldest="$oldest_clang" '
      $1 == oldest { exact = $1 } $1 > oldest { newest = $1 }
      END { print exact ? exact : newest }'
}

install_clang() {
   local release
   release=$(
      { dpkg-query -W -f '${Package} ${db:Status-Status}\n' 'clang-tidy-*' || true; } \
         2>/dev/null |
         sed -n 's/^clang-tidy-\([0-9]*\) installed$/\1/p' | choose_clang
   )
   if [ -z "$release" ]; then
      refresh_lists
      release=$(apt-cache search --names-only '^clang-tidy-[0-9]+$' |
         sed -n 's/^clang-tidy-\([0-9]*\) .*/\1/p' | choose_clang)
      [ -n "$release" ] || fail "this system has no Clang $oldest_clang or newer"
      [ "$release" = "$oldest_clang" ] ||
         say "there is no Clang $oldest_clang here: taking Clang $release"
   fi
   install_missing "clang-$release" "clang-tidy-$release" "clang-format-$release" \
      "libclang-rt-$release-dev" # what its sanitizers link
}

# --- fmt ---------------------------------------------------------------------

new_enough() { [ -n "$1" ] && dpkg --compare-versions "$1" ge "$oldest_fmt"; }

have_fmt() {
   [ -e build/deps/usr/include/fmt/format.h ] || {
      installed libfmt-dev &&
         new_enough "$(dpkg-query -W -f '${Version}' libfmt-dev)"
   }
}

# The mirrors of Debian's main archive that this system uses, as apt knows them:
# whatever the form of its source lists, and without those of third parties.
debian_mirrors() {
   apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' \
      'Origin: Debian' 'Label: Debian' | sed '/^cdrom:/d' | sort -u
}

# An apt beside the system's own: lists, cache and state of its own below $1, and
# one source, release $2 of the mirrors named after it. How to reach the network is
# the system's setting; its hooks are not for this.
make_private_apt() {
   local folder=$1 release=$2 mirrors=$3
   mkdir -p "$folder"/{lists,cache,parts}/partial
   : >"$folder/status"
   cat >"$folder/debian.sources" <<END
Types: deb
URIs: $(tr '\n' ' ' <<<"$mirrors")
Suites: $release
Components: main
Targets: Packages
Languages: none
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
END
   cat >"$folder/apt.conf" <<END
#clear APT::Update;
#clear DPkg::Post-Invoke;
Dir::Etc::sourcelist "$folder/debian.sources";
Dir::Etc::sourceparts "$folder/parts";
Dir::Etc::preferences "/dev/null";
Dir::Etc::preferencesparts "$folder/parts";
Dir::State "$folder";
Dir::State::lists "$folder/lists";
Dir::State::status "$folder/status";
Dir::Cache "$folder/cache";
APT::Sandbox::User "root";
END
}

# Downloads fmt with the private apt in folder $1, and unpacks it to $1/tree.
fetch_fmt() (
   local library deb
   cd "$1" &&
      quietly apt-get -q -c apt.conf update &&
      library=$(apt-cache -c apt.conf depends libfmt-dev |
         sed -n 's/^ *Depends: \(libfmt[0-9.]*\)$/\1/p') &&
      quietly apt-get -q -c apt.conf download libfmt-dev "$library" || return
   for deb in ./*.deb; do
      dpkg-deb -x "$deb" tree || return
   done
)

# Unpacks a newer Debian release's fmt into the build folder. Only its header-only
# target is used, so it does not matter which compiler its library was made with;
# the library comes along because fmt's CMake package checks that it is there.
unpack_fmt() {
   local folder deps=$PWD/build/deps mirrors
   mirrors=$(debian_mirrors)
   if [ -z "$mirrors" ]; then
      refresh_lists
      mirrors=$(debian_mirrors)
   fi
   [ -n "$mirrors" ] ||
      fail "fmt $oldest_fmt is needed: apt knows no Debian mirror to take it from"
   say "taking fmt from Debian $fmt_release into build/deps (the system's stays)"
   mkdir -p build
   folder=$(mktemp -d "$PWD/build/apt.XXXXXX")
   trap "rm -rf '$folder'" EXIT
   make_private_apt "$folder" "$fmt_release" "$mirrors"
   fetch_fmt "$folder" || fail "fmt cannot be taken from Debian $fmt_release"
   new_enough "$(dpkg-deb -f "$folder"/libfmt-dev_*.deb Version)" ||
      fail "Debian $fmt_release has no fmt $oldest_fmt"
   rm -rf "$deps"
   mv "$folder/tree" "$deps"
}

install_fmt() {
   have_fmt && return
   local candidate
   candidate=$(apt-cache policy libfmt-dev | sed -n 's/^ *Candidate: //p')
   if new_enough "$candidate" && [ "$candidate" != '(none)' ]; then
      # An older one that is installed is left as it is.
      if ! installed libfmt-dev; then
         install_missing libfmt-dev
         return
      fi
   fi
   unpack_fmt
}

# -----------------------------------------------------------------------------

wants_clang=no
for option in "$@"; do
   case $option in
      --bench) packages+=("${bench_packages[@]}") ;;
      --checks)
         packages+=("${checks_packages[@]}")
         wants_clang=yes
         ;;
      --packages) packages+=("${packages_packages[@]}") ;;
      --docs) packages+=("${docs_packages[@]}") ;;
      --browser) packages+=("${browser_packages[@]}") ;;
      --mutation) packages+=("${mutation_packages[@]}") ;;
      *) fail "unknown option $option" ;;
   esac
done
for tool in apt-get apt-cache dpkg-deb dpkg-query; do
   command -v "$tool" >/dev/null || fail "needs Debian 12 or newer: there is no $tool"
done

install_missing "${packages[@]}"
if [ "$wants_clang" = yes ]; then
   install_clang
fi
install_fmt
