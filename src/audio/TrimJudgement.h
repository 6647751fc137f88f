#pragma once
#include <QtGlobal>
#include <optional>

namespace quillmere {

// Whether a trimmed file is good enough to stand in for the original.
enum class TrimJudgement { accepted, noSignificantSilence, tooShort, invalidFile };

// Durations in seconds; fileSize in bytes, nothing when there is no file.
TrimJudgement judgeTrim(double originalDuration, double trimmedDuration, std::optional<qint64> fileSize);

}  // namespace quillmere
