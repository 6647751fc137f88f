#pragma once
#include <QString>
#include <optional>

#include "audio/AudioConverter.h"
#include "audio/TrimError.h"
#include "audio/VADProcessing.h"
#include "audio/VoiceActivityDetector.h"
#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "ports/WavWriter.h"

namespace quillmere {

// Writes a copy of a recording without its silence: 16 kHz, mono, 16-bit WAV. One for each run, called on the main
// thread; loading, analysis and writing are done on workers. The recording itself is only read. A cancel or a failure
// leaves no output behind. Memory: the samples, once. What it is given outlives the pools.
class SilenceTrimmer {
 public:
  SilenceTrimmer(VoiceActivityDetector& detector, AudioConverter& converter, WavWriterFactory& writers,
                 WorkerPool& workers, const Logging& logging);

  // Without outputPath the file is written beside the input as outputPathFor() says.
  Task<Result<TrimResult, TrimError>> trimSilence(QString inputPath, std::optional<QString> outputPath);

  // "talks/a.b.wav" gives "talks/a.b_trimmed.wav".
  static QString outputPathFor(const QString& inputPath);

 private:
  Task<Result<VoiceActivityDetector::Samples, TrimError>> load(QString path);
  Task<Result<std::vector<TimeRange>, TrimError>> findSpeech(VoiceActivityDetector::Samples samples);

  VoiceActivityDetector& detector_;
  AudioConverter& converter_;
  WavWriterFactory& writers_;
  WorkerPool& workers_;
  Logger logger_;
};

}  // namespace quillmere
