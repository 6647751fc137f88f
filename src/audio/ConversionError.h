#pragma once
#include <QString>

namespace quillmere {

// Why an audio file could not be turned into samples.
struct ConversionError {
  enum class Kind { invalidAudioFile, unsupportedFormat, conversionFailed, emptyAudioFile, incomplete };
  Kind kind = Kind::conversionFailed;
  QString
      detail;  // invalidAudioFile: the file's path; emptyAudioFile, incomplete: unused; else the text after the colon

  QString message() const;
  bool operator==(const ConversionError&) const = default;
};

}  // namespace quillmere
