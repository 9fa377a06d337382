#include "GuardScript.h"

namespace fillstation {

namespace {

// Runs as root, with node, bus, device, sequence and kind set. The node is opened first and held
// open to the end; everything is asked of what is held and the command works on it, so that it
// doesn't matter what becomes of the name. While it is held the kernel gives its number to no
// other disk.
constexpr std::string_view kScript = R"sh(
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
  [ -r "$1" ] && [ "$(cat "$1")" = "$2" ]
}

check_disk() {
  [ -b "$held" ] || refuse 'The device is not a disk.'
  disk=$(readlink -e "$sys/dev/block/$(printf '%d:%d' $(stat -L -c '0x%t 0x%T' "$held"))") || gone
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

list_partitions() {
  for part in "$disk/$name"*; do
    if [ -e "$part/partition" ]; then
      printf '%s\n' "$part"
    fi
  done
}

check_unused() {
  for block in "$disk" $(list_partitions); do
    number=$(cat "$block/dev") || gone
    if printf '%s\n' "$mounts" | cut -d ' ' -f 3 | grep -qx "$number" ||
      printf '%s\n' "$mounts" | grep -q " - [^ ]* /dev/${block##*/} "; then
      refuse 'The disk is mounted.'
    fi
    if grep -q "^/dev/${block##*/}[[:blank:]]" "$proc/swaps" || ls "$block/holders" | grep -q .; then
      refuse 'The disk is in use.'
    fi
  done
}

check() {
  check_disk
  check_usb_device
  mounts=$(cat "$proc/self/mountinfo") || refuse 'The mount table is missing.'
  check_unused
}

forget_partitions() {
  limit=$(($(date +%s) + 15))
  until blockdev --rereadpt "$held" 2>/dev/null && [ -z "$(list_partitions)" ]; do
    [ "$(date +%s)" -lt "$limit" ] || break
    sleep 0.1
  done
  [ -z "$(list_partitions)" ] || refuse 'The partitions of before are still there.'
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
  run dd if=/dev/zero of="$held" bs=4k count=10
  ;;
format)
  forget_partitions
  check
  run mkfs.fat -F32 "$held"
  ;;
esac
)sh";

}  // namespace

std::string_view guardScript() { return kScript; }

std::string guardedCommand(const PlayerCommand& command, const PlayerGuard& guard,
                           std::string_view script) {
  std::string text = "node=" + guard.node;
  text += "\nbus=" + std::to_string(guard.busnum);
  text += "\ndevice=" + std::to_string(guard.devnum);
  text += "\nsequence=" + std::to_string(guard.diskseq);
  text += command.kind == PlayerCommand::wipe ? "\nkind=wipe" : "\nkind=format";
  return text.append(script);
}

}  // namespace fillstation
