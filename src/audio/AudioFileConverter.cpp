#include "audio/AudioFileConverter.h"

#include "audio/FileConversion.h"
#include "base/async/Offload.h"

namespace quillmere {

AudioFileConverter::AudioFileConverter(MediaReaderFactory& readers, MediaEncoder& encoder, WorkerPool& pool,
                                       const Logging& logging)
    : readers_(readers),
      encoder_(encoder),
      pool_(pool),
      logger_(logging.logger(QStringLiteral("AudioFileConverter"))) {}

Task<Result<AudioFileFormat, AnyError>> AudioFileConverter::convertAudioToAAC(QString from, QString to) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, from, to](const StopFlag& stop) {
    return conversion.convertAudioToAAC(from, to, stop.atomic());
  };
  co_return co_await offload(pool_, std::move(work));
}

Task<Result<AudioFileFormat, AnyError>> AudioFileConverter::exportToM4A(QString from, QString to) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, from, to](const StopFlag& stop) { return conversion.exportToM4A(from, to, stop.atomic()); };
  co_return co_await offload(pool_, std::move(work));
}

Task<bool> AudioFileConverter::hasAudioTrack(QString path) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, path](const StopFlag&) { return conversion.hasAudioTrack(path); };
  co_return co_await offload(pool_, std::move(work));
}

Task<Result<bool, AnyError>> AudioFileConverter::hasPicture(QString path) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, path](const StopFlag&) { return conversion.hasPicture(path); };
  co_return co_await offload(pool_, std::move(work));
}

Task<Result<ExtractedAudio, AnyError>> AudioFileConverter::extractAudioFromVideo(QString from, QString to) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, from, to](const StopFlag& stop) {
    return conversion.extractAudioFromVideo(from, to, stop.atomic());
  };
  co_return co_await offload(pool_, std::move(work));
}

Task<Result<double, AnyError>> AudioFileConverter::durationSeconds(QString path) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, path](const StopFlag& stop) { return conversion.durationSeconds(path, stop.atomic()); };
  co_return co_await offload(pool_, std::move(work));
}

}  // namespace quillmere
