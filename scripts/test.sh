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
# The rooms whose tests run under a sanitizer: our own code, without the speech engine and the media libraries.
unit_rooms='base|domain|diagnostics|storage|audio|recording|triggers|delivery|context|postprocessing|models|providers|files|core|interface'

if [ $setup = yes ]; then bash "$root/scripts/setup.sh" --test </dev/null; fi
say "Configuring build/$preset"
configure "$preset" "$build"

if [ $preset != dev ]; then
  mapfile -t targets < <(ninja -C "$build" -t targets all | sed -nE "s/^(($unit_rooms)_tests): phony$/\1/p")
  [ ${#targets[@]} -gt 0 ] || die "there are no unit tests to build"
  say "Building ${targets[*]}"
  cmake --build "$build" -j "$(jobs)" --target "${targets[@]}" </dev/null
  run=(ctest --test-dir "$build" -R "^($unit_rooms)\$" --output-on-failure --no-tests=error)
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=1:strict_string_checks=1}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
  # Qt isn't built for the sanitizer: what it does among its own threads is none of our findings.
  export TSAN_OPTIONS=${TSAN_OPTIONS:-ignore_noninstrumented_modules=1:second_deadlock_stack=1}
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
exec ctest --test-dir "$build" --output-on-failure --no-tests=error -j 2 ${left_out[@]+"${left_out[@]}"} "$@" </dev/null
