#!/bin/sh
# Starts the systemd of another root as the first process of namespaces that are its own:
#
#   unshare -fpmiuC --kill-child boot.sh ROOT
set -eu

root=$1
mount --make-rprivate /
mount --bind "$root" "$root"
mount -t proc proc "$root/proc"
mount -t sysfs sysfs "$root/sys"
mount -t cgroup2 cgroup2 "$root/sys/fs/cgroup"
for folder in dev run tmp; do
   mount -t tmpfs tmpfs "$root/$folder"
done
for device in null zero full random urandom tty; do
   touch "$root/dev/$device"
   mount --bind "/dev/$device" "$root/dev/$device"
done
ln -s pts/ptmx "$root/dev/ptmx"
# Not chroot: who lives in one may have no users of their own, as the service has.
mkdir "$root/run/before"
cd "$root"
pivot_root . run/before
umount -l run/before
exec env -i container=other PATH=/usr/bin:/bin:/usr/sbin:/sbin LC_ALL=C.UTF-8 \
   /lib/systemd/systemd --system
