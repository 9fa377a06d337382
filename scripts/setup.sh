# Sourced by the scripts at the root, which have set -euo pipefail. Leaves the caller in the root of
# the project; needs only bash and the tools of every Debian.

cd "$(dirname "${BASH_SOURCE[0]}")/.."
readonly PACKAGE_LIST=scripts/packages.txt

# Texts and file names are UTF-8 here, also where no locale is set up at all.
if [[ -z "${LC_ALL:-}${LC_CTYPE:-}${LANG:-}" ]]; then
  export LANG=C.UTF-8
fi

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }
fail() {
  say "$*" >&2
  exit 1
}
# show_and_fail LOG TEXT: fails, after the log without ninja's lines of progress.
show_and_fail() {
  grep -v '^\[[0-9]*/[0-9]*\] ' "$1" >&2 || true
  fail "$2"
}

# packages GROUP…: the names of these groups' packages, one a line.
packages() {
  local line name group
  while read -r line; do
    read -r name group _ <<<"${line%%#*}"
    if [[ -n "$name" && " $* " == *" $group "* ]]; then
      printf '%s\n' "$name"
    fi
  done <"$PACKAGE_LIST"
}

# missing NAME…: the packages that are not installed, one per line.
missing() {
  local installed name
  installed=" $(dpkg-query -W -f='${db:Status-Status}=${Package} ' "$@" 2>/dev/null || true)"
  for name in "$@"; do
    if [[ "$installed" != *" installed=$name "* ]]; then
      printf '%s\n' "$name"
    fi
  done
}

# installer PACKAGE…: how apt-get is to be run here, one word a line; says so when there is no way.
installer() {
  local by_hand="As root, run: apt-get install --no-install-recommends $*"
  if (($(id -u) != 0)); then
    command -v sudo >/dev/null ||
      fail "Only root can install packages, and there is no sudo here. $by_hand"
    [[ -t 0 ]] || sudo -n true 2>/dev/null ||
      fail "sudo would ask for a password, and there is no terminal to ask on. $by_hand"
    echo sudo
  fi
  printf '%s\n' env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300
}

# set_up GROUP…: installs what is missing of these groups' packages. Touches neither apt nor the
# network when nothing is.
set_up() {
  local -a wanted to_install apt_get
  local words log=build/setup.log
  mapfile -t wanted < <(packages "$@")
  if ! command -v dpkg-query >/dev/null; then
    say "This is not Debian. Going on with what is here; by their Debian names, needed are:" \
      "${wanted[*]}"
    return
  fi
  mapfile -t to_install < <(missing "${wanted[@]}")
  if ((${#to_install[@]} == 0)); then
    return
  fi
  words=$(installer "${to_install[@]}")
  mapfile -t apt_get <<<"$words"
  mkdir -p build
  say "Installing what is missing to build and run, with apt-get: ${to_install[*]}"
  "${apt_get[@]}" update >"$log" 2>&1 ||
    show_and_fail "$log" "The package lists could not be fetched (see above): is there a network?"
  "${apt_get[@]}" install --no-install-recommends "${to_install[@]}" >"$log" 2>&1 ||
    show_and_fail "$log" "apt-get could not install the packages (see above)."
  say "Installed."
}

# progress LOG: copies the lines it reads to LOG, and shows the last one every ten seconds.
progress() {
  local line next=$((SECONDS + 10))
  while IFS= read -r line; do
    printf '%s\n' "$line" >&3
    if ((SECONDS >= next)) && [[ "$line" == "["* ]]; then
      say "  $line"
      next=$((SECONDS + 10))
    fi
  done 3>"$1"
}

# configure PRESET [CMAKE-OPTION…]: prepares the build folder; the output appears if that fails.
configure() {
  local preset=$1
  shift
  local log="build/$preset-configure.log"
  mkdir -p build
  say "Configuring the preset $preset"
  cmake --preset "$preset" "$@" >"$log" 2>&1 ||
    show_and_fail "$log" "CMake could not configure the preset $preset (see above)."
}

# build PRESET TARGET…: builds what is configured. On a terminal ninja shows its one line of
# progress; elsewhere there is a line now and then. The whole output appears if it fails.
build() {
  local preset=$1 started=$SECONDS
  shift
  local log="build/$preset-build.log"
  say "Building $* in the preset $preset with $(nproc) jobs"
  local -a command=(cmake --build --preset "$preset" --parallel "$(nproc)" --target "$@")
  if [[ -t 1 ]]; then
    "${command[@]}" || fail "The build of the preset $preset failed (see above)."
  else
    "${command[@]}" 2>&1 | progress "$log" ||
      show_and_fail "$log" "The build of the preset $preset failed (see above)."
  fi
  say "Built in $((SECONDS - started)) s"
}
