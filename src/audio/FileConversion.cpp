#include "audio/FileConversion.h"

#include <QFile>
#include <QFileInfo>

namespace quillmere {
namespace {

constexpr qint64 framesPerRead = 16384;
constexpr int bitRatePerChannel = 64000;

AnyError exportFailed() {
  return AudioError{AudioError::Kind::exportFailed, {}};
}

AnyError asAnyError(const MediaError& error) {
  if (error.kind == MediaError::Kind::noAudioTrack) return AudioError{AudioError::Kind::noAudioTrack, {}};
  if (error.kind == MediaError::Kind::incomplete) return AudioError{AudioError::Kind::incomplete, {}};
  if (error.kind == MediaError::Kind::cannotOpen) return AudioError{AudioError::Kind::fileNotReadable, {}};
  return PlatformError{QStringLiteral("media"), error.code, error.description};
}

QString fileName(const QString& path) {
  return QFileInfo(path).fileName();
}

bool isSameFile(const QString& one, const QString& other) {
  const QString first = QFileInfo(one).canonicalFilePath();
  return !first.isEmpty() && first == QFileInfo(other).canonicalFilePath();
}

// The source's format as its track describes it, else as decoding finds it.
std::optional<AudioFileFormat> sourceFormat(const MediaReader& reader) {
  const MediaReader::TrackDescription described = reader.trackDescription();
  AudioFileFormat format{described.sampleRate, described.channelCount, 0};
  if (!(format.sampleRate > 0) || format.channelCount <= 0) {
    const AudioStreamFormat decoded = reader.format();
    format.sampleRate = decoded.sampleRate;
    format.channelCount = decoded.channelCount;
  }
  if (!(format.sampleRate > 0) || format.channelCount <= 0) return std::nullopt;
  format.bitRate = bitRatePerChannel * format.channelCount;
  return format;
}

}  // namespace

FileConversion::FileConversion(MediaReaderFactory& readers, MediaEncoder& encoder, Logger logger)
    : readers_(readers), encoder_(encoder), logger_(std::move(logger)) {}

FileConversion::FormatResult FileConversion::convertAudioToAAC(const QString& from, const QString& to,
                                                               const std::atomic<bool>& stop) const {
  if (isSameFile(from, to)) return Failed{exportFailed()};
  QFile::remove(to);
  return encode(from, to, stop);
}

FileConversion::FormatResult FileConversion::encode(const QString& from, const QString& to,
                                                    const std::atomic<bool>& stop) const {
  auto reader = readers_.open(from, MediaReaderFactory::Output::signed16Interleaved);
  if (!reader) {
    logger_.error("Failed to open the source: %@", reader.error().description);
    return Failed{exportFailed()};
  }
  const std::optional<AudioFileFormat> format = sourceFormat(**reader);
  if (!format) return Failed{exportFailed()};

  const AacEncoderSettings settings{format->sampleRate, format->channelCount, format->bitRate};
  auto writer = encoder_.openWriter(to, settings);
  Result<void, MediaError> pumped =
      writer ? pump(**reader, **writer, stop) : Result<void, MediaError>(Failed{writer.error()});
  if (writer) writer.value().reset();
  if (pumped && stop.load(std::memory_order_relaxed)) pumped = Failed{MediaError{MediaError::Kind::stopped, 0, {}}};
  if (!pumped) {
    if (pumped.error().kind != MediaError::Kind::stopped)
      logger_.error("Conversion to AAC failed: %@", pumped.error().description);
    QFile::remove(to);
    return Failed{exportFailed()};
  }
  return *format;
}

Result<void, MediaError> FileConversion::pump(MediaReader& reader, MediaWriter& writer,
                                              const std::atomic<bool>& stop) const {
  for (;;) {
    if (stop.load(std::memory_order_relaxed)) return Failed{MediaError{MediaError::Kind::stopped, 0, {}}};
    TRY(const auto block, reader.read(framesPerRead));
    if (block.frameCount == 0) return writer.finish();
    TRY_OK(writer.append(block));
  }
}

FileConversion::FormatResult FileConversion::exportToM4A(const QString& from, const QString& to,
                                                         const std::atomic<bool>& stop) const {
  if (isSameFile(from, to)) return Failed{exportFailed()};
  QFile::remove(to);
  std::optional<AudioFileFormat> format;
  if (const auto reader = readers_.open(from, MediaReaderFactory::Output::native)) format = sourceFormat(**reader);
  if (!format) {
    logger_.error("AVAssetExportSession: Could not determine source format");
    return Failed{exportFailed()};
  }
  auto exporter = encoder_.createExportSession(from, to);
  if (!exporter) {
    logger_.error("AVAssetExportSession: Failed to create export session");
    return Failed{exportFailed()};
  }

  AnyError failure = exportFailed();
  const MediaExportSession::Status status = exporter->run(stop);
  switch (status) {
    case MediaExportSession::Status::completed:
      if (stop.load(std::memory_order_relaxed)) break;
      if (QFileInfo::exists(to)) {
        logger_.info("AVAssetExportSession conversion successful: %ldHz %ldch → %{public}s", qint64(format->sampleRate),
                     format->channelCount, fileName(to));
        return *format;
      }
      logger_.error("AVAssetExportSession: Output file not created despite success status");
      break;
    case MediaExportSession::Status::failed: {
      const std::optional<MediaError> error = exporter->error();
      logger_.error("AVAssetExportSession: Export failed - %{public}s",
                    error ? error->description : QStringLiteral("unknown error"));
      if (error) failure = asAnyError(*error);
      break;
    }
    case MediaExportSession::Status::cancelled:
      logger_.warning("AVAssetExportSession: Export was cancelled");
      break;
    default:
      logger_.error("AVAssetExportSession: Unexpected status %ld", int(status));
      break;
  }
  exporter.reset();
  QFile::remove(to);
  return Failed{failure};
}

bool FileConversion::hasAudioTrack(const QString& path) const {
  const auto reader = readers_.open(path, MediaReaderFactory::Output::native);
  if (reader || reader.error().kind == MediaError::Kind::unsupported) return true;
  if (reader.error().kind != MediaError::Kind::noAudioTrack)
    logger_.error("Failed to load audio tracks: %{public}s", reader.error().description);
  return false;
}

Result<bool, AnyError> FileConversion::hasPicture(const QString& path) const {
  const auto reader = readers_.open(path, MediaReaderFactory::Output::native);
  if (!reader) return Failed{asAnyError(reader.error())};
  return (*reader)->hasPicture();
}

// As it is, without a loss, where the M4A can hold it.
FileConversion::FormatResult FileConversion::copyPackets(const QString& from, const QString& to,
                                                         const std::atomic<bool>& stop) const {
  const auto copy = encoder_.createPacketCopy(from, to);
  if (!copy || copy->run(stop) != MediaExportSession::Status::completed) {
    const std::optional<MediaError> error = copy ? copy->error() : std::nullopt;
    return Failed{error ? asAnyError(*error) : exportFailed()};
  }
  const auto reader = readers_.open(to, MediaReaderFactory::Output::native);
  const std::optional<AudioFileFormat> format = reader ? sourceFormat(**reader) : std::nullopt;
  if (!format) return Failed{exportFailed()};
  return *format;
}

Result<ExtractedAudio, AnyError> FileConversion::extractAudioFromVideo(const QString& from, const QString& to,
                                                                       const std::atomic<bool>& stop) const {
  logger_.info("🎬 Extracting audio from video: %{public}s", fileName(from));
  if (!hasAudioTrack(from)) {
    logger_.warning("🎬 Video has no audio track: %{public}s", fileName(from));
    return Failed{AnyError(AudioError{AudioError::Kind::noAudioTrack, {}})};
  }
  TRY(const double duration, durationSeconds(from, stop));
  if (isSameFile(from, to)) return Failed{exportFailed()};
  // The target may be an empty file that holds the name: it is written to, never removed in between.
  FormatResult made = copyPackets(from, to, stop);
  if (!made && !stop.load(std::memory_order_relaxed)) {
    logger_.info("🎬 The sound is encoded anew: %{public}s", localizedDescription(made.error()));
    made = encode(from, to, stop);
  }
  if (!made || stop.load(std::memory_order_relaxed)) QFile::remove(to);
  if (!made) return Failed{made.error()};
  const AudioFileFormat& format = *made;
  logger_.info("🎬 Audio extraction complete: %ss, %ldHz, %ldch", QString::number(duration, 'f', 1),
               qint64(format.sampleRate), format.channelCount);
  return ExtractedAudio{duration, format.sampleRate, format.channelCount};
}

Result<double, AnyError> FileConversion::durationSeconds(const QString& path, const std::atomic<bool>& stop) const {
  const auto duration = readers_.durationSeconds(path, stop);
  if (!duration) return Failed{asAnyError(duration.error())};
  return *duration;
}

}  // namespace quillmere
