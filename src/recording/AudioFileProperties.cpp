#include "recording/AudioFileProperties.h"

#include <QFileInfo>

namespace quillmere {

Result<AudioFileProperties, MediaError> AudioFileProperties::read(MediaReaderFactory& readers, const QString& path) {
  TRY(const auto reader, readers.open(path, MediaReaderFactory::Output::native));
  const AudioStreamFormat format = reader->format();
  AudioFileProperties properties;
  properties.sampleRate = format.sampleRate;
  properties.channelCount = format.channelCount;
  if (const auto frames = reader->nominalFrames()) {
    properties.frames = *frames;
  } else {
    TRY(const auto first, reader->read(1));
    properties.frames = first.frameCount;
  }
  return properties;
}

QString audioFormatText(const QString& path, const std::optional<AudioFileProperties>& properties) {
  const QString extension = QFileInfo(path).suffix();
  const QString upper = extension.toUpper();
  if (!properties) return (extension.isEmpty() ? QStringLiteral("Audio") : upper) + QStringLiteral(" (unknown)");
  const QString lower = extension.toLower();
  QString kind = upper;
  if (lower == QStringLiteral("m4a")) kind = QStringLiteral("M4A AAC");
  if (lower == QStringLiteral("wav")) kind = QStringLiteral("WAV PCM");
  if (lower == QStringLiteral("caf")) kind = QStringLiteral("CAF PCM");
  return QStringLiteral("%1 %2Hz %3ch")
      .arg(kind, QString::number(qint64(properties->sampleRate)), QString::number(properties->channelCount));
}

}  // namespace quillmere
