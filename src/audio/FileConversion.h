#pragma once
#include <QString>
#include <atomic>

#include "audio/AudioFileFormat.h"
#include "base/Result.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/MediaEncoder.h"
#include "ports/MediaReader.h"

namespace quillmere {

// The steps of AudioFileConverter as its workers run them. Blocks; any thread. When `stop` is set it ends between two
// blocks, the target is removed and the result means nothing.
class FileConversion {
 public:
  using FormatResult = Result<AudioFileFormat, AnyError>;

  FileConversion(MediaReaderFactory& readers, MediaEncoder& encoder, Logger logger);

  FormatResult convertAudioToAAC(const QString& from, const QString& to, const std::atomic<bool>& stop) const;
  FormatResult exportToM4A(const QString& from, const QString& to, const std::atomic<bool>& stop) const;
  bool hasAudioTrack(const QString& path) const;
  Result<bool, AnyError> hasPicture(const QString& path) const;
  Result<ExtractedAudio, AnyError> extractAudioFromVideo(const QString& from, const QString& to,
                                                         const std::atomic<bool>& stop) const;
  Result<double, AnyError> durationSeconds(const QString& path, const std::atomic<bool>& stop) const;

 private:
  FormatResult copyPackets(const QString& from, const QString& to, const std::atomic<bool>& stop) const;
  FormatResult encode(const QString& from, const QString& to, const std::atomic<bool>& stop) const;
  Result<void, MediaError> pump(MediaReader& reader, MediaWriter& writer, const std::atomic<bool>& stop) const;

  MediaReaderFactory& readers_;
  MediaEncoder& encoder_;
  Logger logger_;
};

}  // namespace quillmere
