#include "audio/TrimError.h"

namespace quillmere {

QString TrimError::message() const {
  switch (kind) {
    case Kind::audioLoadFailed:
      return QStringLiteral("Failed to load audio: ") + detail;
    case Kind::vadAnalysisFailed:
      return QStringLiteral("VAD analysis failed: ") + detail;
    case Kind::outputWriteFailed:
      return QStringLiteral("Failed to write output: ") + detail;
    case Kind::fileNotFound:
      return QStringLiteral("Audio file not found");
    case Kind::noSpeechDetected:
      return QStringLiteral("No speech detected in audio");
    case Kind::invalidAudioFormat:
      return QStringLiteral("Invalid audio format");
  }
  return {};
}

}  // namespace quillmere
