#include "core/InterruptionNotice.h"

#include "base/text/LocalizedText.h"

namespace quillmere {

QString recordingLengthText(double seconds) {
  const auto whole = qint64(seconds);
  return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

QString interruptionNotice(AudioRecorder::Interruption::Kind kind, std::optional<double> keptSeconds) {
  using Kind = AudioRecorder::Interruption::Kind;
  const QString length = keptSeconds ? recordingLengthText(*keptSeconds) : QString();
  switch (kind) {
    case Kind::deviceGone:
      return keptSeconds ? localizedText("recording.notice.microphoneGone", length)
                         : localizedText("recording.notice.microphoneGone.tooShort");
    case Kind::serverGone:
      return keptSeconds ? localizedText("recording.notice.soundServerGone", length)
                         : localizedText("recording.notice.soundServerGone.tooShort");
    case Kind::writeFailed:
      return keptSeconds ? localizedText("recording.notice.writeFailed", length)
                         : localizedText("recording.notice.writeFailed.tooShort");
  }
  return {};
}

}  // namespace quillmere
