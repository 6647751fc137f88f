#!/usr/bin/env bash
# fetch-voice-activity-model.sh: puts what the voice-activity model is made of into third_party/src/silero-vad, where
# the build finds it. See fetch-wheel.sh.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
exec bash "$here/fetch-wheel.sh" silero-vad "the voice-activity model (5 MB)" "$here/src/silero-vad" \
  silero_vad/data silero_vad.jit --only
