#!/usr/bin/env bash
# Sets up, builds and runs all tests; ends with the summary of ctest.
#
#   test.sh [OPTION]... [-- CTEST OPTION...]
#   --quick   no setup: everything is installed already
#   --asan    the unit tests under AddressSanitizer and UndefinedBehaviorSanitizer instead
#   --tsan    the unit tests under ThreadSanitizer instead
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=dev setup=yes
while [ $# -gt 0 ]; do
  case $1 in
    --quick) setup=no ;;
    --asan) preset=asan ;;
    --tsan) preset=tsan ;;
    --) shift; break ;;
    -h | --help) sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}"; exit 0 ;;
    *) die "unknown option $1 (--quick, --asan, --tsan)" ;;
  esac
  shift
done
build=$root/build/$preset
cd "$root"

if [ $setup = yes ]; then bash "$root/scripts/setup.sh" --test </dev/null; fi
say "Configuring build/$preset"
configure "$preset" "$build"

if [ $preset != dev ]; then
  say "Building the unit tests with $(jobs) compilers at once"
  cmake --build "$build" -j "$(jobs)" --target unit_tests </dev/null
  # The preset says which tests, and with which options of the sanitizer. Qt isn't built for it: what Qt does among its
  # own threads is none of our findings.
  run=(ctest --preset $preset)
  if [ -x /usr/lib/llvm-16/bin/llvm-symbolizer ]; then
    export ASAN_SYMBOLIZER_PATH=/usr/lib/llvm-16/bin/llvm-symbolizer TSAN_SYMBOLIZER_PATH=/usr/lib/llvm-16/bin/llvm-symbolizer
  fi
  # ThreadSanitizer of clang 16 stops with a fault of its own where Qt starts a process with clone().
  if [ $preset = tsan ]; then export GTEST_FILTER=${GTEST_FILTER:--TwoProcessesTest.*}; fi
  # Kernels that place memory more randomly than the sanitizer's map expects.
  if [ $preset = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then run=(setarch "$(uname -m)" -R "${run[@]}"); fi
  say "Testing under the sanitizer"
  exec "${run[@]}" "$@" </dev/null
fi

say "Building with $(jobs) compilers at once"
cmake --build "$build" -j "$(jobs)" </dev/null

left_out=()
# Real speech: the starter model, imported by the program that was just built into a home of its own.
starter=$root/build/starter
starter_file() { find "$starter/data" -name ggml-tiny.en.bin -type f 2>/dev/null | head -n 1; }
if [ -x "$build/src/app/quillmere" ] && source=$(starter_source); then
  if [ -z "$(starter_file)" ]; then
    say "Importing the starter model"
    XDG_DATA_HOME=$starter/data XDG_CONFIG_HOME=$starter/config XDG_STATE_HOME=$starter/state \
      "$build/src/app/quillmere" models import "$source" </dev/null || die "the starter model could not be imported"
  fi
  QUILLMERE_STARTER_MODEL=$(starter_file)
  [ -n "$QUILLMERE_STARTER_MODEL" ] || die "the import left no starter model under $starter/data"
  export QUILLMERE_STARTER_MODEL QUILLMERE_STARTER_FOLDER=$source
elif [ "${CI:-}" = true ]; then
  die "the tests with real speech need the starter model"
else
  say "The starter model can't be had now: the tests with real speech are left out"
  left_out=(-E '^e2e$')
fi
if [ -z "${QUILLMERE_TEST_DATA:-}" ] && [ -d "$root/../shared/data" ]; then
  QUILLMERE_TEST_DATA=$(cd "$root/../shared/data" && pwd)
  export QUILLMERE_TEST_DATA
fi

say "Testing"
exec ctest --preset $preset ${left_out[@]+"${left_out[@]}"} "$@" </dev/null
