#pragma once
#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "base/log/Logger.h"

namespace quillmere {

class MediaReaderFactory;

// Frames of the first channel of a stored recording, as numbers from -1 to 1.
class WaveformSource {
 public:
  virtual ~WaveformSource() = default;
  virtual qint64 length() const = 0;  // frames
  // At most `count` frames from `frame` on; nothing when they can't be read. Calls come with rising `frame`, and may
  // overlap.
  virtual std::optional<std::vector<float>> read(qint64 frame, qint64 count) = 0;
};

// One number from 0 to 1 a bar: the loudness of 256 frames at the bar's place. A bar that can't be read is 0.
std::vector<float> waveformSamples(WaveformSource& source, int barCount);

// The same of a file. A file that can't be opened is logged and gives no samples. Any thread; blocks.
std::vector<float> waveformSamples(MediaReaderFactory& readers, const QString& path, int barCount,
                                   const Logger& logger);

std::unique_ptr<WaveformSource> openWaveform(MediaReaderFactory& readers, const QString& path, QString* error);

}  // namespace quillmere
