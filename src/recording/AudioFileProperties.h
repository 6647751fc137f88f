#pragma once
#include <QString>
#include <optional>

#include "base/Result.h"
#include "ports/MediaReader.h"

namespace quillmere {

// What an audio file says of itself when it is opened.
struct AudioFileProperties {
  qint64 frames = 0;      // as stated; a file that states nothing counts as one frame when one can be read
  double sampleRate = 0;  // hertz
  int channelCount = 0;

  static Result<AudioFileProperties, MediaError> read(MediaReaderFactory& readers, const QString& path);

  bool isUsable() const { return frames > 0 && channelCount > 0 && sampleRate > 0; }
};

// "WAV PCM 16000Hz 1ch"; "WAV (unknown)" without properties.
QString audioFormatText(const QString& path, const std::optional<AudioFileProperties>& properties);

}  // namespace quillmere
