#pragma once
#include <QString>

namespace quillmere {

class AppState;
struct DictationParts;

// What the running application does now, as one JSON object: state, seconds (of the recording), mode, microphone,
// asksWhetherToCancel, error and notice (the last ones shown), text (of the last dictation), paste (how it arrived),
// onClipboard (whether a text that did not arrive waits there), timings (milliseconds of its steps, named after the
// fields of DictationTimings).
QString applicationStatus(const AppState& state, DictationParts& parts, const QString& lastNotice);

}  // namespace quillmere
