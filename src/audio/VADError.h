#pragma once
#include <QString>

namespace quillmere {

// Why the search for speech failed.
enum class VADError {
  modelNotFound,
  modelLoadFailed,
  analysisFailedInvalidSamples,
  analysisFailedContextNotReady,
  segmentExtractionFailed
};

QString message(VADError error);

}  // namespace quillmere
