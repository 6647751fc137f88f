#pragma once
#include <QString>
#include <atomic>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "ports/AudioBlock.h"
#include "ports/MediaReader.h"

namespace quillmere {

struct AacEncoderSettings {
  double sampleRate = 0;  // hertz
  int channelCount = 0;
  int bitRate = 0;  // bits per second
  bool operator==(const AacEncoderSettings&) const = default;
};

// Writes AAC in an M4A container whose index stands at the front. One thread at a time, any thread. Dropping a writer
// before finish() leaves an unusable file, which the caller removes.
class MediaWriter {
 public:
  virtual ~MediaWriter() = default;
  // Blocks are 16-bit interleaved and all of one format.
  virtual Result<void, MediaError> append(const AudioBlock& block) = 0;
  virtual Result<void, MediaError> finish() = 0;
};

// One export of a whole file with settings that the platform chooses itself. run() blocks; once.
class MediaExportSession {
 public:
  enum class Status { unknown = 0, waiting = 1, exporting = 2, completed = 3, failed = 4, cancelled = 5 };

  virtual ~MediaExportSession() = default;
  virtual Status run(const std::atomic<bool>& stop) = 0;
  // Why it failed, where that is known.
  virtual std::optional<MediaError> error() const = 0;
};

// Any thread.
class MediaEncoder {
 public:
  virtual ~MediaEncoder() = default;
  // A rate or a number of channels that AAC can't carry is brought to the nearest that it can.
  virtual Result<std::unique_ptr<MediaWriter>, MediaError> openWriter(const QString& path,
                                                                      const AacEncoderSettings& settings) = 0;
  // nullptr when the platform can't make one.
  virtual std::unique_ptr<MediaExportSession> createExportSession(const QString& from, const QString& to) = 0;
  // Takes the packets of the sound over as they are. It fails where an M4A can't hold them. nullptr as above.
  virtual std::unique_ptr<MediaExportSession> createPacketCopy(const QString& from, const QString& to) = 0;
};

}  // namespace quillmere
