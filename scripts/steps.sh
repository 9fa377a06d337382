# Sourced after setup.sh by scripts that do one thing after the other: says at the end how long each
# took, or which one failed.

summary=()

# step NAME COMMAND…: runs it; where it fails, it is the last one.
step() {
  local name=$1 started=$SECONDS
  shift
  printf '\n=== %s ===\n' "$name"
  "$@" || {
    summary+=("$(printf '%-36s failed after %5d s' "$name" $((SECONDS - started)))")
    exit 1
  }
  summary+=("$(printf '%-36s %18d s' "$name" $((SECONDS - started)))")
}

show_summary() {
  printf '\n=== Summary ===\n'
  printf '%s\n' "${summary[@]}" "$(printf '%-36s %18d s' "all" "$SECONDS")"
}
trap show_summary EXIT
