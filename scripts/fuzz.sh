#!/usr/bin/env bash
# Builds the fuzz targets, makes their seeds with the generators of the tests, and runs each for a while.
#
#   fuzz.sh [SECONDS [TARGET]...]   default: 60 seconds each, all targets
#
# What a target has learned stays in build/fuzz/corpus, an input that it fails on in build/fuzz/findings: give it to
# build/fuzz/tests/fuzz/TARGET to see it again. Ends with 1 where something was found.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
  -h | --help) sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}"; exit 0 ;;
esac
seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || die "how many seconds? fuzz.sh [SECONDS [TARGET]...]"
shift $(($# > 0))
build=$root/build/fuzz
programs=$build/tests/fuzz

say "Configuring and building"
configure fuzz "$build"
cmake --build "$build" -j "$(jobs)" --target fuzz </dev/null
"$programs/FuzzSeeds" "$build/seeds"
mkdir -p "$build/findings"
if [ $# = 0 ]; then
  for folder in "$build"/seeds/*; do set -- "$@" "$(basename "$folder")"; done
fi

# Qt keeps what it has made once to the end of the process.
export ASAN_OPTIONS=detect_leaks=0 QT_LOGGING_RULES='*=false'
found=0
for target in "$@"; do
  [ -x "$programs/$target" ] || die "there is no target $target"
  mkdir -p "$build/corpus/$target"
  say "$target"
  # A whole vocabulary is the longest seed; most inputs are short.
  "$programs/$target" -max_total_time="$seconds" -max_len=2000000 -len_control=100 -timeout=20 -rss_limit_mb=4096 \
    -print_final_stats=1 -artifact_prefix="$build/findings/$target-" \
    "$build/corpus/$target" "$build/seeds/$target" >"$build/$target.log" 2>&1 </dev/null || {
    found=1
    tail -n 40 "$build/$target.log" >&2
  }
  grep -E 'cov: ' "$build/$target.log" | tail -n 1 >&2 || true
done
exit $found
