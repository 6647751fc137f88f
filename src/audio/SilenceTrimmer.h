#pragma once
#include <QString>

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

  // "talks/a.b.mp3" gives "talks/a.b_trimmed.wav", or the next name that nothing has.
  Task<Result<TrimResult, TrimError>> trimSilence(QString inputPath);

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
