#pragma once
#include <QString>

namespace quillmere {

// Why a recording could not be trimmed.
struct TrimError {
  enum class Kind {
    audioLoadFailed,
    vadAnalysisFailed,
    outputWriteFailed,
    fileNotFound,
    noSpeechDetected,
    invalidAudioFormat
  };
  Kind kind = Kind::audioLoadFailed;
  QString detail;  // the text after the colon of the first three

  QString message() const;
  bool operator==(const TrimError&) const = default;
};

}  // namespace quillmere
