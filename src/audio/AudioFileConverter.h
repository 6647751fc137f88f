#pragma once
#include <QString>

#include "audio/AudioFileFormat.h"
#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/MediaEncoder.h"
#include "ports/MediaReader.h"

namespace quillmere {

// Turns files into AAC in an M4A container and pulls the audio out of videos. Stateless. Called on the main thread; the
// work runs on the pool. An existing target is replaced; after a failure or a cancel no target stays behind. A source
// that is its own target is refused. The factories must outlive the pool.
class AudioFileConverter {
 public:
  AudioFileConverter(MediaReaderFactory& readers, MediaEncoder& encoder, WorkerPool& pool, const Logging& logging);

  // The primary path: decoded and encoded again sample by sample. Fails with AudioError::exportFailed.
  Task<Result<AudioFileFormat, AnyError>> convertAudioToAAC(QString from, QString to);
  // The fallback: the whole file goes to the platform's exporter, which finds its own settings.
  Task<Result<AudioFileFormat, AnyError>> exportToM4A(QString from, QString to);
  Task<bool> hasAudioTrack(QString path);
  // Whether the file shows moving pictures, as its content says, not its name. Fails for what can't be opened, with
  // AudioError::noAudioTrack for media without sound.
  Task<Result<bool, AnyError>> hasPicture(QString path);
  // The sound alone: its packets as they are where an M4A can hold them, else encoded as by convertAudioToAAC. Fails
  // with AudioError::noAudioTrack for a video without sound, else as convertAudioToAAC.
  Task<Result<ExtractedAudio, AnyError>> extractAudioFromVideo(QString from, QString to);
  // Length of an audio or video file; measured where the file's own statement can't be trusted.
  Task<Result<double, AnyError>> durationSeconds(QString path);

 private:
  MediaReaderFactory& readers_;
  MediaEncoder& encoder_;
  WorkerPool& pool_;
  Logger logger_;
};

}  // namespace quillmere
