#!/usr/bin/env bash
# Installs the packages of a build into a Debian that has nothing else, and uses them
# there. One step a call; ctest orders them, and sets:
#   BUILD CXX CMAKE     the build's folder and programs
#   SOURCE              the project's folder
# Without debootstrap, or without the right to use it, the steps say so and end with
# status 77: skipped.
set -euo pipefail

base=$BUILD/root-base # what debootstrap made; kept, since it takes its time
root=$BUILD/root
extra=man-db,bash-completion,zsh,systemd,dbus # what our packages go along with
arch=$(dpkg --print-architecture)

fail() { echo "$*" >&2; exit 1; }
skip() { echo "cannot run here: $*"; exit 77; }
# Runs a command in the other root, which has a /proc of its own as long as it runs.
inside() {
   unshare -m sh -c '
      mount -t proc proc "$1/proc"
      root=$1
      shift
      exec chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin \
         LC_ALL=C.UTF-8 HOME=/ "$@"' sh "$root" "$@"
}

# This system's release, and where it is fetched from.
release() { . /etc/os-release && echo "$VERSION_CODENAME"; }
mirror() {
   apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' \
      'Origin: Debian' "Codename: $(release)" | sed '/^cdrom:/d' | sort -u | head -n 1
}

prints() { # expected command...
   local expected=$1 printed
   shift
   printed=$("$@") || fail "$* ended with status $?"
   [ "$printed" = "$expected" ] || fail "$* printed: $printed"
}

becomes() { # expected command...
   local expected=$1 printed
   shift
   for _ in $(seq 300); do
      printed=$("$@" 2>&1) || true
      [ "$printed" != "$expected" ] || return 0
      sleep 0.1
   done
   fail "$* printed: $printed"
}

# Starts a systemd in the other root, which goes when this script does.
boot() {
   unshare -fpmiuC mount -t cgroup2 cgroup2 /sys/fs/cgroup 2>/dev/null ||
      skip "there may be no namespaces with control groups of their own"
   unshare -fpmiuC --kill-child "$SOURCE/tests/packaging/boot.sh" "$root" \
      >"$BUILD/boot.log" 2>&1 &
   namespaces=$!
   trap 'kill -KILL "$namespaces"' EXIT
   until systemd=$(pgrep -x -P "$namespaces" systemd); do
      kill -0 "$namespaces" 2>/dev/null || fail "$(cat "$BUILD/boot.log")"
      sleep 0.1
   done
   becomes running has_booted
}
# Runs a command beside it.
within() {
   nsenter -m -p -i -u -C -r -w -t "$systemd" /usr/bin/env -i \
      PATH=/usr/bin:/bin:/usr/sbin:/sbin LC_ALL=C.UTF-8 "$@"
}
has_booted() { within systemctl is-system-running | sed s/degraded/running/; }
property() { within systemctl show -P "$1" mcastvpn-agent; }
said() { within journalctl -q -o cat -u mcastvpn-agent | grep -cF "$1"; }
# How many outputs there are of which nothing was written.
untouched() {
   within mcastvpn-agent ctl stats | grep -cE '^  (.*_intf|join_level) +0 +0 +0$'
}

case $1 in
   lintian)
      lintian --allow-root --tag-display-limit 0 --fail-on error,warning \
         "$BUILD"/*.deb
      ;;

   # What the unit leaves the service, as systemd rates it: 1.2 of 10 at most.
   service)
      command -v systemd-analyze >/dev/null || skip "there is no systemd-analyze"
      folder=$(mktemp -d)
      dpkg-deb --fsys-tarfile "$BUILD"/mcastvpn-agent_*.deb |
         tar -C "$folder" -x ./usr/lib/systemd/system/mcastvpn-agent.service
      systemd-analyze security --offline=yes --threshold=12 --no-pager \
         "$folder/usr/lib/systemd/system/mcastvpn-agent.service"
      rm -r "$folder"
      ;;

   # The library needs the C++ runtime and nothing else; the rest has its release.
   dependencies)
      prints 'libc6 libgcc-s1 libstdc++6 ' sh -c '
         dpkg-deb -f "$1"/libmcastvpnlib[0-9]_*.deb Depends |
            sed "s/([^)]*)//g; s/,//g" | tr -s " \n" "\n" | sort | tr "\n" " "' \
         sh "$BUILD"
      version=$(dpkg-deb -f "$BUILD"/mcastvpn-agent_*.deb Version)
      for package in libmcastvpnlib-dev mcastvpn-agent; do
         dpkg-deb -f "$BUILD/${package}_${version}_$arch.deb" Depends |
            grep -qF "libmcastvpnlib1 (= $version)" ||
            fail "$package does not need the library of its release"
      done
      ;;

   install)
      command -v debootstrap >/dev/null || skip "there is no debootstrap"
      [ "$(id -u)" -eq 0 ] || skip "only root may enter another root"
      if [ "$(cat "$base/complete" 2>/dev/null)" != "$extra" ]; then
         rm -rf "$base"
         debootstrap --variant=minbase --include="$extra" \
            "$(release)" "$base" "$(mirror)"
         echo "$extra" >"$base/complete"
      fi
      rm -rf "$root"
      cp -a "$base" "$root"
      mkdir "$root/packages"
      cp "$BUILD"/*.deb "$root/packages"
      # What they need besides is fetched; dpkg itself does the work.
      cp /etc/resolv.conf "$root/etc/resolv.conf"
      inside sh -c '
         needed=$(apt-get install -s /packages/*.deb | sed -n "s/^Inst \([^ ]*\).*/\1/p" |
            grep -v mcastvpn || true)
         [ -z "$needed" ] || apt-get install -q -y --no-install-recommends $needed
         dpkg -i /packages/*.deb'
      prints '' inside dpkg --audit
      prints '' inside sh -c 'dpkg --verify $(dpkg-query -W -f "\${Package} " "*mcastvpn*")'
      ;;

   # The two commands of the demonstration, with the examples and nothing else.
   demo)
      [ -e "$root/packages" ] || skip "nothing is installed"
      cp -r "$SOURCE/examples" "$root/examples"
      inside mcastvpn-agent run --verify /examples/leaf-pair.jsonc |
         grep -F '8 of 13 SBD VLANs have a transit interface, 8 a join.'
      inside mcastvpn-agent replay --verify --state /examples/minimal.jsonc \
         /examples/story.jsonl | tail -n 1 | grep -F '"tests":2,"failed":0}}'
      ;;

   pages)
      [ -e "$root/packages" ] || skip "nothing is installed"
      inside mandb -q
      for page in mcastvpn-agent mcastvpn-agent-run; do
         inside man "$page" | grep -q 'EXIT STATUS' || fail "man $page shows nothing"
         inside whatis "$page" | grep -q "^$page (1)" || fail "whatis knows no $page"
      done
      prints 'explain' inside bash -c '
         source /usr/share/bash-completion/bash_completion
         _completion_loader mcastvpn-agent
         COMP_WORDS=(mcastvpn-agent exp) COMP_CWORD=1
         _mcastvpn_agent
         echo "${COMPREPLY[@]}"'
      prints '_mcastvpn-agent' inside zsh -fc '
         autoload -Uz compinit
         compinit -D
         print $_comps[mcastvpn-agent]'
      ;;

   # The service under a systemd of its own, with all that the unit shuts it in with.
   unit)
      [ -e "$root/packages" ] || skip "nothing is installed"
      rm -rf "$root/var/log/journal" # of another start
      mkdir -p "$root/etc/mcastvpn-agent"
      cp "$SOURCE/examples/minimal.jsonc" "$root/etc/mcastvpn-agent/state.jsonc"
      boot
      within systemctl start mcastvpn-agent
      prints 'active' property ActiveState
      prints 'ready: 1 transit VLAN' property StatusText
      within mcastvpn-agent ctl show | grep -F 'Vlan10             10.0.0.100'

      within sed -i s/10.0.0.100/10.0.0.200/ /etc/mcastvpn-agent/state.jsonc
      becomes 1 said 'replace /transitIntfColl/intf/Vlan10/ipAddr "10.0.0.200"'
      within systemctl reload mcastvpn-agent
      becomes 1 said '0 changes of the inputs'

      # One that was killed starts over what it kept, and writes none of it again.
      becomes 1 within grep -c 10.0.0.200 /var/lib/mcastvpn-agent/outputs.json
      within systemctl kill -s KILL mcastvpn-agent
      becomes 1 property NRestarts
      becomes 'ready: 1 transit VLAN' property StatusText
      prints 5 untouched

      # One that hangs is ended by its watchdog, and started again.
      within sh -c 'kill -STOP "$(systemctl show -P MainPID mcastvpn-agent)"'
      becomes watchdog property Result
      within systemctl kill -s CONT mcastvpn-agent
      becomes 2 property NRestarts
      becomes 'ready: 1 transit VLAN' property StatusText

      within systemctl stop mcastvpn-agent
      prints 'inactive' property ActiveState
      prints 'success' property Result
      prints 1 within grep -c Vlan10 /var/lib/mcastvpn-agent/outputs.json
      within rm -r /etc/mcastvpn-agent /var/lib/mcastvpn-agent/outputs.json
      ;;

   # A program that is compiled against what is installed, and runs there.
   consumer)
      [ -e "$root/packages" ] || skip "nothing is installed"
      rm -rf "$BUILD/root-consumer"
      "$CMAKE" -S "$SOURCE/tests/consumer" -B "$BUILD/root-consumer" \
         -D CMAKE_CXX_COMPILER="$CXX" -D CMAKE_FIND_ROOT_PATH="$root" \
         -D CMAKE_PREFIX_PATH=/usr -D CMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY
      "$CMAKE" --build "$BUILD/root-consumer" --verbose
      cp "$BUILD/root-consumer/consumer" "$root/usr/local/bin/consumer"
      prints 'Vlan10 10.0.0.1' inside /usr/local/bin/consumer
      inside sh -c 'ldd /usr/local/bin/consumer' |
         grep -F "libMcastVpnLib.so.1 => /lib/$(gcc -print-multiarch)/libMcastVpnLib.so.1"
      ;;

   # All goes that came.
   remove)
      [ -e "$root/packages" ] || skip "nothing is installed"
      inside sh -c 'dpkg --purge $(dpkg-query -W -f "\${Package} " "*mcastvpn*")'
      prints '' sh -c 'find "$1/usr" "$1/etc" "$1/lib" | grep -i mcastvpn |
         grep -v /usr/local/ || true' sh "$root"
      rm -rf "$root"
      ;;

   *) fail "no such step: $1" ;;
esac
