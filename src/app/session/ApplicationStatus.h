#pragma once
#include <QString>

namespace quillmere {

class AppState;
class AudioRecordingManager;

// What the running application does now, as one JSON object: state, seconds (of the recording), mode, microphone,
// asksWhetherToCancel, error and notice (the last ones shown), text (of the last dictation), paste (how it arrived).
QString applicationStatus(const AppState& state, AudioRecordingManager& recording, const QString& lastNotice);

}  // namespace quillmere
