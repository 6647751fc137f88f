# Shared by the scripts beside it; sourced, never run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# npm keeps its downloads inside the project, not in the home folder.
export npm_config_cache="$root/.cache/npm" npm_config_update_notifier=false npm_config_fund=false
export PIP_DISABLE_PIP_VERSION_CHECK=1

say() { printf '[%3d s] %s\n' "$SECONDS" "$*" >&2; }
die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# How many compilers at once: one a core, as far as memory goes (1.5 GB each).
jobs() {
  local cores kilobytes most
  cores=$(nproc 2>/dev/null || echo 2)
  kilobytes=$(awk '/^MemAvailable:/ { print $2 }' /proc/meminfo 2>/dev/null || true)
  most=$(((${kilobytes:-4000000} + 1500000) / 1500000))
  echo $((cores < most ? cores : most))
}

# configure PRESET FOLDER OPTION...: a CMake build tree, with a compiler cache where there is one.
configure() {
  local preset=$1 folder=$2
  shift 2
  if command -v ccache >/dev/null; then
    set -- -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@"
  fi
  mkdir -p "$folder"
  if ! (cd "$root" && cmake --preset "$preset" -B "$folder" "$@") >"$folder/configure.log" 2>&1; then
    cat "$folder/configure.log" >&2
    die "CMake could not configure $folder"
  fi
}

# Fetches the starter model's folder into the build folder; prints where it is.
starter_source() {
  bash "$root/third_party/fetch-starter-model.sh" "$root/build/starter/source" >&2
  echo "$root/build/starter/source"
}
