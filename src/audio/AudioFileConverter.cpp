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
  auto task = offload(pool_, std::move(work));
  co_return co_await std::move(task);
}

Task<Result<AudioFileFormat, AnyError>> AudioFileConverter::exportToM4A(QString from, QString to) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, from, to](const StopFlag& stop) { return conversion.exportToM4A(from, to, stop.atomic()); };
  auto task = offload(pool_, std::move(work));
  co_return co_await std::move(task);
}

Task<bool> AudioFileConverter::hasAudioTrack(QString path) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, path](const StopFlag&) { return conversion.hasAudioTrack(path); };
  auto task = offload(pool_, std::move(work));
  co_return co_await std::move(task);
}

Task<Result<ExtractedAudio, AnyError>> AudioFileConverter::extractAudioFromVideo(QString from, QString to) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, from, to](const StopFlag& stop) {
    return conversion.extractAudioFromVideo(from, to, stop.atomic());
  };
  auto task = offload(pool_, std::move(work));
  co_return co_await std::move(task);
}

Task<Result<double, AnyError>> AudioFileConverter::durationSeconds(QString path) {
  const FileConversion conversion(readers_, encoder_, logger_);
  auto work = [conversion, path](const StopFlag& stop) { return conversion.durationSeconds(path, stop.atomic()); };
  auto task = offload(pool_, std::move(work));
  co_return co_await std::move(task);
}

}  // namespace quillmere
