#pragma once
#include <QString>
#include <optional>

#include "ports/AudioRecorder.h"

namespace quillmere {

// "0:12", "61:05".
QString recordingLengthText(double seconds);

// One sentence for the user when a recording ended by itself: why, and how much of it was kept (none: too little).
QString interruptionNotice(AudioRecorder::Interruption::Kind kind, std::optional<double> keptSeconds);

}  // namespace quillmere
