# Sourced by ./test: what ctest's results mean. Needs say and fail of setup.sh.

# count NAME RESULTS: a number of the test suite in a JUnit file; nothing when it isn't there.
count() {
  sed -n "s/^[[:space:]]*$1=\"\([0-9]*\)\".*/\1/p" "$2" | head -n 1
}

# skip_reasons RESULTS: why tests were skipped, each reason once with the number of its tests.
skip_reasons() {
  sed -n -e '/: Skipped$/{n;p;}' -e 's/.*SKIPPED: //p' "$1" | sort | uniq -c
}

# judge PRESET RESULTS: fails unless every test has run. Where CI isn't "true" a test may be skipped,
# for want of root's rights or a tool, and the reasons are told.
judge() {
  local skipped
  skipped=$(count skipped "$2")
  [[ "$(count disabled "$2")" == 0 ]] || fail "Tests of $1 are disabled (see above)."
  if [[ "$skipped" == 0 ]]; then
    say "All tests of $1 passed."
    return
  fi
  skip_reasons "$2"
  [[ "${CI:-}" != true && -n "$skipped" ]] || fail "Tests of $1 were skipped (see above)."
  say "$skipped tests of $1 were SKIPPED for the reasons above; all others passed."
}
