# shellcheck shell=bash
# SPDX-License-Identifier: Apache-2.0
#
# What the scripts share. Sourced; expects `set -euo pipefail`.
# BUILD_ROOT is the folder of the build trees, build/ by default.

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_root=${BUILD_ROOT:-$project/build}
jobs=$(nproc)

# Test cases seen by count_tests so far, and a line for each that was skipped.
passed=0
failed=0
skipped=0
skipped_lines=()

say() { printf '\n== %s\n' "$*"; }

# usage: prints the comment at the top of the script, which lists its words; exit code 2.
usage() {
  sed -n '4,/^set -/ { /^set -/d; s/^# \{0,1\}//; p; }' "$0" >&2
  exit 2
}

# quiet COMMAND...: runs the command. Only if it fails its output is shown, and the script ends.
quiet() {
  local log
  log=$(mktemp)
  "$@" >"$log" 2>&1 || { tail -n 100 "$log" >&2; rm -f "$log"; exit 1; }
  rm -f "$log"
}

# prepare PRESET TARGET...: configures and builds, quietly.
prepare() {
  quiet configure "$1"
  quiet build "$@"
}

# configure PRESET [CMAKE_ARGUMENT...]: into its own tree below $build_root. Uses ccache where it is installed.
configure() {
  local preset=$1 launcher=()
  shift
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  (cd "$project" && cmake --preset "$preset" -B "$build_root/$preset" "${launcher[@]}" "$@")
}

# build PRESET [TARGET...]: everything, or the targets alone.
build() {
  local preset=$1
  shift
  cmake --build "$build_root/$preset" -j "$jobs" ${1:+--target "$@"}
}

# run_tests PRESET [CTEST_ARGUMENT...]: runs and counts; a failed test does not end the script.
run_tests() {
  local tree=$build_root/$1
  shift
  rm -rf "$tree/test-results"
  ctest --test-dir "$tree" -j "$jobs" --output-on-failure --output-junit "$tree/ctest.xml" "$@" || true
  count_tests "$tree"
}

attribute() { # NAME: the number in NAME="..." of the text on standard input
  sed -n "s/.* $1=\"\([0-9]*\)\".*/\1/p" | head -n 1
}

# skips_in TREE RESULTS: adds a line to skipped_lines for each skipped case of a results file, with its reason.
skips_in() {
  local line suite='' test='' reason
  while IFS= read -r line; do
    case $line in
      *'<testcase '*)
        test=${line#*<testcase name=\"} suite=${line##* classname=\"}
        test=${test%%\"*} suite=${suite%%\"*}
        ;;
      *'<skipped '*)
        # message="FILE:LINE&#x0A;REASON"
        reason=$(sed -n 's/.*<skipped message="[^"]*:[0-9]*&#x0A;\([^"]*\)".*/\1/p' <<<"$line" |
          sed 's/&#x0A;/ /g; s/&quot;/"/g; s/&apos;/'"'"'/g; s/&lt;/</g; s/&gt;/>/g; s/&amp;/\&/g')
        skipped_lines+=("skipped in $(basename "$1"): $suite.$test: ${reason:-the test gives no reason}")
        ;;
    esac
  done < <(grep -E '<testcase |<skipped ' "$2")
}

# Adds up the cases of every test program that left its results in the tree; any other test counts as one case.
# A program that fails without a failed case (a crash at its end, a leak) counts as one more failure.
count_tests() { # TREE
  local name status results head cases bad off left_out
  while read -r name status; do
    results=$1/test-results/$name.xml
    if [ ! -f "$results" ]; then
      if [ "$status" = run ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
      continue
    fi
    head=$(grep -m 1 '<testsuites ' "$results")
    cases=$(attribute tests <<<"$head")
    off=$(attribute disabled <<<"$head")
    bad=$(($(attribute failures <<<"$head") + $(attribute errors <<<"$head")))
    left_out=$(grep -c 'result="skipped"' "$results" || true)
    passed=$((passed + cases - bad - off - left_out))
    skipped=$((skipped + off + left_out))
    if [ "$left_out" != 0 ]; then skips_in "$1" "$results"; fi
    if [ "$status" != run ] && [ "$bad" = 0 ]; then bad=1; fi
    failed=$((failed + bad))
  done < <(sed -n 's/.*<testcase name="\([^"]*\)".* status="\([a-z]*\)".*/\1 \2/p' "$1/ctest.xml")
}

# The summary of a test script: each skipped test with its reason, and last what was counted. Fails unless every test
# passed.
finish() {
  if [ "$skipped" != 0 ]; then printf '\n'; fi
  if [ ${#skipped_lines[@]} != 0 ]; then printf '%s\n' "${skipped_lines[@]}"; fi
  if [ "$skipped" != 0 ]; then printf '%s skipped\n' "$skipped"; fi
  printf '%s passed, %s failed\n' "$passed" "$failed"
  [ "$failed" = 0 ] && [ "$passed" -gt 0 ]
}
