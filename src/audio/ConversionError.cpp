#include "audio/ConversionError.h"

namespace quillmere {

QString ConversionError::message() const {
  switch (kind) {
    case Kind::invalidAudioFile:
      return QStringLiteral("Invalid audio file: ") + detail.section(u'/', -1, -1, QString::SectionSkipEmpty);
    case Kind::unsupportedFormat:
      return QStringLiteral("Unsupported audio format: ") + detail;
    case Kind::conversionFailed:
      return QStringLiteral("Audio conversion failed: ") + detail;
    case Kind::incomplete:
      return QStringLiteral("Audio file breaks off before its end");
    case Kind::emptyAudioFile:
      break;
  }
  return QStringLiteral("Audio file is empty or corrupt");
}

}  // namespace quillmere
