#!/usr/bin/env bash
# From a clean checkout to text: installs what is needed, builds, and transcribes speech on this machine.
#
#   quickstart.sh           transcribes a short clip that comes with the speech engine's source
#   quickstart.sh MY.wav    transcribes your own file (anything that FFmpeg can read)
#
# The first run takes up to 25 minutes on two cores, the next ones seconds. Writes only inside this folder and into your
# own data folders.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR source=common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

case ${1:-} in
  -h | --help) sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}"; exit 0 ;;
  --) shift ;;
  -*) die "unknown option $1" ;;
esac
[ $# -le 1 ] || die "one file at a time: quickstart.sh [MY.wav]"
if [ $# = 1 ]; then
  # Before the long work: is there anything to transcribe?
  [ -f "$1" ] || die "there is no file $1"
  [ -r "$1" ] || die "the file $1 can't be read"
  speech=$(cd "$(dirname -- "$1")" && pwd)/$(basename -- "$1")
else
  speech=$root/third_party/src/whisper.cpp/samples/jfk.mp3
fi

say "1/4 Tools and sources"
bash "$root/scripts/setup.sh" --build-only </dev/null

build=$root/build/quickstart
say "2/4 Building (the first time this is the long part)"
configure release "$build" -DQUILLMERE_TESTS=OFF -DQUILLMERE_BENCH=OFF
cmake --build "$build" -j "$(jobs)" --target quillmere </dev/null
quillmere=$build/src/app/quillmere

say "3/4 The starter model, tiny.en"
if "$quillmere" models list --json </dev/null | grep '"name":"tiny.en"' | grep -q '"isInstalled":true'; then
  say "It is installed already"
else
  source=$(starter_source)
  "$quillmere" models import "$source" </dev/null
fi

say "4/4 Transcribing $speech"
"$quillmere" transcribe "$speech" --model tiny.en </dev/null
say "Done. Your history:"
"$quillmere" history </dev/null
printf '\nThe program is %s\nTry: %s --help\n' "$quillmere" "$quillmere" >&2
