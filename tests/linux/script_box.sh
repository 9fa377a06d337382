#!/bin/sh
# script_box.sh AGENT DRIVER COMMAND…: runs the command in a system of its own, as far as polkit is
# concerned: a copy of /etc with users that exist nowhere else, an empty /run, a system bus. The
# first process of its namespaces; everything in them ends with it.
set -e
mount -t tmpfs -o mode=755 none /run
mkdir -p /run/dbus /run/box/etc
cp -a /etc/. /run/box/etc
mount --bind /run/box/etc /etc
cp "$1" /run/box/agent
cp "$2" /run/box/driver
shift 2

add_user() {
  useradd --no-log-init --no-create-home --no-user-group --gid nogroup --shell /bin/sh "$@"
}
add_user tester
add_user plain
for name in boss second third locked; do
  add_user --groups sudo "$name"
done
printf " two  blanks, 'and' \$igns; %s" "$(cat /proc/sys/kernel/random/uuid)" >/run/box/password
chpasswd <<EOF
plain:plain word
boss:$(cat /run/box/password)
second:Grüße mit Umläuten
third:$(printf '%510s' '' | tr ' ' x)
locked:locked word
EOF
passwd --quiet --lock locked

dbus-daemon --system --nofork --nopidfile >/run/box/bus.log 2>&1 &
echo "$!" >/run/box/bus.pid
until [ -S /run/dbus/system_bus_socket ]; do
  sleep 0.02
done
# Not exec: the first process also takes over the children that others leave behind.
"$@"
