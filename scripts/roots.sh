# Sourced after setup.sh, by scripts that run commands in minimal roots of Debian releases. Needs
# root, and the packages of the group roots.

readonly ROOT_USER=newcomer  # may use sudo without a password
readonly ROOT_CACHE="$PWD/build/platforms/ccache"

# make_root RELEASE FOLDER: a minimal Debian with both users, and a clone of what is committed here
# for each, in a new folder. False, with the reason on standard error, if that can't be done.
make_root() {
  local release=$1 root=$2 words=$2.sources log=$2.log
  local -a arguments
  rm -rf "$root" "$words"
  mkdir -p "$root" "$words"
  words=$(python3 -B scripts/debian.py "$release" "$words") || return
  mapfile -t arguments < <(sed '/^--/d' <<<"$words")
  arguments=("$release" "$root" "${arguments[@]}")
  mapfile -t -O "${#arguments[@]}" arguments < <(sed -n '/^--/p' <<<"$words")
  say "Making a minimal $release"
  mmdebstrap --variant=minbase --include=sudo --dpkgopt=force-unsafe-io "${arguments[@]}" \
    >"$log" 2>&1 || { tail -n 20 "$log" >&2; return 1; }
  # In a chroot nothing that is installed shall start.
  printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d" &&
    chmod +x "$root/usr/sbin/policy-rc.d" &&
    cp --dereference /etc/resolv.conf "$root/etc/" &&
    echo "127.0.0.1 localhost $(<"$root/etc/hostname")" >"$root/etc/hosts" &&
    chroot "$root" useradd --create-home --shell /bin/bash "$ROOT_USER" &&
    echo "$ROOT_USER ALL=(ALL) NOPASSWD: ALL" >"$root/etc/sudoers.d/$ROOT_USER" &&
    mkdir "$root/var/cache/ccache" &&
    git clone --quiet --no-hardlinks . "$root/root/fillstation" &&
    cp -R "$root/root/fillstation" "$root/home/$ROOT_USER/" &&
    chroot "$root" chown -R "$ROOT_USER:" "/home/$ROOT_USER/fillstation"
}

# in_root ROOT USER COMMAND: runs the command in that user's clone in the root. In namespaces of its
# own: nothing stays mounted and nothing goes on running, however this ends.
in_root() {
  mkdir -p "$ROOT_CACHE"
  chmod 777 "$ROOT_CACHE"
  # shellcheck disable=SC2016  # those are of the inner shell
  setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child --propagation private sh -euc '
    mount --bind "$1" "$1"  # which makes a mount of it, as / has to be one
    cd "$1"
    mount --rbind /dev dev
    mount --rbind /sys sys
    mount -t proc proc proc
    mount -t tmpfs tmpfs run
    mount --bind "$4" var/cache/ccache
    exec chroot . runuser --login "$2" --command "
      export CCACHE_DIR=/var/cache/ccache CCACHE_UMASK=000
      cd fillstation && $3"' sh "$1" "$2" "$3" "$ROOT_CACHE"
}
