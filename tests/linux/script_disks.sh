#!/bin/sh
# script_disks.sh SYS: in a box, the folder SYS becomes its /sys, and /dev a folder of its own with
# the usual nodes and a way to block devices made of files.
set -e
mount --bind "$1" /sys
mknod /run/box/loop-control c 10 237
mount -t tmpfs -o mode=755 none /dev
mknod -m 666 /dev/null c 1 3
mknod -m 666 /dev/zero c 1 5
mknod -m 666 /dev/full c 1 7
mknod -m 666 /dev/random c 1 8
mknod -m 666 /dev/urandom c 1 9
mknod -m 666 /dev/tty c 5 0
ln -s /proc/self/fd /dev/fd
ln -s fd/0 /dev/stdin
ln -s fd/1 /dev/stdout
ln -s fd/2 /dev/stderr
