#include "audio/VADError.h"

namespace quillmere {

QString message(VADError error) {
  switch (error) {
    case VADError::modelNotFound:
      return QStringLiteral("VAD model file not found in app bundle");
    case VADError::modelLoadFailed:
      return QStringLiteral("Failed to load VAD model");
    case VADError::analysisFailedInvalidSamples:
      return QStringLiteral("VAD analysis failed: invalid audio samples");
    case VADError::analysisFailedContextNotReady:
      return QStringLiteral("VAD analysis failed: context not initialized");
    case VADError::segmentExtractionFailed:
      return QStringLiteral("Failed to extract speech segments");
  }
  return {};
}

}  // namespace quillmere
