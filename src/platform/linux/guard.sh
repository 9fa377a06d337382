#!/bin/sh
# Runs as root, after lines that set node, bus, device, sequence and kind (wipe or format). The node
# is opened first and held open to the end; everything is asked of what is held and the command works
# on it, so that it doesn't matter what becomes of the name. While it is held the kernel gives its
# number to no other disk. What the shell can do itself starts no process: a slow machine waits for
# each of them.
: "${node:?}" "${bus:?}" "${device:?}" "${sequence:?}" "${kind:?}"

PATH=/usr/sbin:/usr/bin:/sbin:/bin
sys=/sys
proc=/proc
held=/dev/fd/9
name=${node##*/}

refuse() {
  printf '%s\n' "$1" >&2
  exit 77
}

gone() {
  refuse 'The device has gone.'
}

content_is() {
  [ -r "$1" ] && IFS= read -r content <"$1" && [ "$content" = "$2" ]
}

check_disk() {
  [ -b "$held" ] || refuse 'The device is not a disk.'
  # shellcheck disable=SC2046,SC2183  # one word becomes two numbers
  cd -P "$sys/dev/block/$(printf '%d:%d' $(stat -L -c '0x%t 0x%T' "$held"))" 2>/dev/null || gone
  disk=$PWD
  cd /
  [ "${disk##*/}" = "$name" ] || gone
  content_is "$disk/diskseq" "$sequence" || gone
}

check_usb_device() {
  usb=$disk
  until [ -e "$usb/busnum" ]; do
    usb=${usb%/*}
    [ -n "$usb" ] || gone
  done
  content_is "$usb/busnum" "$bus" || gone
  content_is "$usb/devnum" "$device" || gone
  content_is "$disk/device/vendor" 'ACTIONS ' || refuse 'The disk is not a player.'
}

check_holders() {
  for holder in "$1/holders/"*; do
    if [ -e "$holder" ] || [ -L "$holder" ]; then
      refuse 'The disk is in use.'
    fi
  done
}

# The disk and its partitions: their numbers and their nodes, each between blanks. Nobody else may
# hold one of them.
list_blocks() {
  numbers=' '
  nodes=' '
  for block in "$disk" "$disk/$name"*; do
    if [ "$block" != "$disk" ] && [ ! -e "$block/partition" ]; then
      continue
    fi
    number=
    read -r number <"$block/dev"
    [ -n "$number" ] || gone
    numbers="$numbers$number "
    nodes="$nodes/dev/${block##*/} "
    check_holders "$block"
  done
}

# A line of the mount table; its third field is the number, and the source follows the type.
check_mount() {
  number=${1#* * }
  source=${1#* - * }
  case $numbers in *" ${number%% *} "*) refuse 'The disk is mounted.' ;; esac
  case $nodes in *" ${source%% *} "*) refuse 'The disk is mounted.' ;; esac
}

# Calls the command with each line of the text, as it stands.
for_each_line() {
  set -f
  IFS='
'
  for line in $2; do
    "$1" "$line"
  done
  unset IFS
  set +f
}

check_mounts() {
  mounts=$(cat "$proc/self/mountinfo") || refuse 'The mount table is missing.'
  for_each_line check_mount "$mounts"
}

# A line of the list of swaps begins with the node.
check_swap() {
  case $nodes in *" ${1%%[[:blank:]]*} "*) refuse 'The disk is in use.' ;; esac
}

check_swaps() {
  [ -e "$proc/swaps" ] || return 0
  swaps=$(cat "$proc/swaps") || refuse 'The list of swaps is missing.'
  for_each_line check_swap "$swaps"
}

# The mount table lacks the mounts of other namespaces. But every mount claims its disk or partition,
# and then nobody else can claim the disk. The claim ends at once.
check_claims() {
  LC_ALL=C perl -MFcntl -e 'exit !sysopen my $disk, shift, O_RDONLY | O_EXCL' "$held" ||
    refuse 'The disk is in use.'
}

check() {
  check_disk
  check_usb_device
  list_blocks
  check_mounts
  check_swaps
}

has_partitions() {
  for part in "$disk/$name"*; do
    if [ -e "$part/partition" ]; then
      return 0
    fi
  done
  return 1
}

forget_partitions() {
  limit=
  until blockdev --rereadpt "$held" 2>/dev/null && ! has_partitions; do
    now=$(date +%s)
    limit=${limit:-$((now + 15))}
    [ "$now" -lt "$limit" ] || break
    sleep 0.1
  done
  if has_partitions; then
    refuse 'The partitions of before are still there.'
  fi
}

run() {
  "$@"
  status=$?
  if [ -f "$node" ]; then
    rm -f "$node"
    gone
  fi
  exit "$status"
}

[ -b "$node" ] || gone
exec 9<"$node"
check
case $kind in
wipe)
  check_claims
  run dd if=/dev/zero of="$held" bs=4k count=10
  ;;
format)
  forget_partitions
  check
  run mkfs.fat -F32 "$held"
  ;;
esac
