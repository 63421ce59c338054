#!/usr/bin/env bash
# packages.sh BUILD: makes Debian packages of a build, in its folder, and of those that
# CPack makes what Debian's policy asks for: triggers in the place of scripts that call
# ldconfig; packages for several architectures side by side; debug symbols in a package
# as Debian has them, which nobody executes.
set -euo pipefail
cd "$1"
rm -f ./*.deb ./*.ddeb
cpack --config CPackConfig.cmake | sed '/^CPack: -/d'

tree=
trap 'rm -rf "$tree"' EXIT
for package in ./*.deb ./*.ddeb; do
   tree=$(mktemp -d)
   dpkg-deb -R "$package" "$tree"
   control=$tree/DEBIAN/control
   rm -f "$tree"/DEBIAN/{postinst,postrm}
   if [ -e "$tree/DEBIAN/shlibs" ]; then
      echo 'activate-noawait ldconfig' >"$tree/DEBIAN/triggers"
   fi
   if ! grep -q '^Package: mcastvpn-agent' "$control"; then
      sed -i '/^Architecture:/a Multi-Arch: same' "$control"
   fi
   sed -i '/^Package-Type:/d' "$control"
   if grep -q '^Auto-Built-Package: debug-symbols' "$control"; then
      find "$tree/usr/lib/debug" -type f -exec chmod 644 {} +
      name=$(basename "${package%%_*}")
      mkdir -p "$tree/usr/share/doc"
      ln -s "${name%-dbgsym}" "$tree/usr/share/doc/$name"
      (cd "$tree" && find usr -type f -exec md5sum {} + | sort -k 2 >DEBIAN/md5sums)
   fi
   rm "$package"
   dpkg-deb --root-owner-group -Zxz -b "$tree" "${package/%.ddeb/.deb}"
   rm -rf "$tree"
done
