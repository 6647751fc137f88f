#!/usr/bin/env bash
# fetch.sh [DEST]: brings the sources named in sources.lock into DEST (default: src beside this script).
# Each package is compared with its checksum before anything is unpacked; no code out of a package is run.
# What is there already is left alone, so a second run takes milliseconds.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
dest=${1:-$here/src}
work=

fail() {
  echo "third_party/fetch.sh: $*" >&2
  exit 1
}
clean() { if [ -n "$work" ]; then rm -rf "$work"; fi; }
trap clean EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

while read -r name package version sum folder rest; do
  case $name in '' | '#'*) continue ;; esac
  [ -n "$folder" ] && [ -z "$rest" ] || fail "sources.lock: the line of $name needs exactly five columns"
  stamp=$dest/.$name.stamp
  wanted="$package $version $sum $folder"
  if [ -d "$dest/$name" ] && [ -f "$stamp" ] && [ "$(<"$stamp")" = "$wanted" ]; then continue; fi

  for tool in npm sha512sum tar; do
    command -v "$tool" >/dev/null || fail "$tool is needed to fetch $name, but is not installed"
  done
  echo "Fetching $name ($package $version)"
  mkdir -p "$dest"
  work=$(mktemp -d "$dest/.fetch.XXXXXX")
  (cd "$work" && npm pack --silent --ignore-scripts "$package@$version" >/dev/null </dev/null) ||
    fail "$package $version could not be downloaded with npm"
  archives=("$work"/*.tgz)
  [ "${#archives[@]}" = 1 ] && [ -f "${archives[0]}" ] || fail "npm left no single archive for $package $version"
  read -r got _ < <(sha512sum "${archives[0]}")
  [ "$got" = "$sum" ] ||
    fail "$package $version is not the package this tree was built with: its SHA-512 is $got, sources.lock says $sum"
  mkdir "$work/tree"
  tar -xzf "${archives[0]}" -C "$work/tree" --no-same-owner --strip-components="$(tr -cd / <<<"$folder/" | wc -c)" "$folder"
  rm -rf "${dest:?}/$name"
  rm -f "$stamp"
  mv "$work/tree" "$dest/$name"
  printf '%s\n' "$wanted" >"$stamp"
  rm -rf "$work"
  work=
done <"$here/sources.lock"
