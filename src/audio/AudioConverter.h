#pragma once
#include <QString>
#include <vector>

#include "audio/ConversionError.h"
#include "audio/ConversionOptions.h"
#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "ports/AudioResampler.h"
#include "ports/MediaReader.h"

namespace quillmere {

// Decodes an audio file into mono floats in memory. Called on the main thread; the work runs on the pool, several
// conversions may be under way. Memory: the samples, once, and one chunk of the source. A cancel stops between two
// blocks of a chunk and drops what was decoded. A file that breaks off in the middle yields what could be read; a WAV
// that can't be read to its end is an error.
// The factories must outlive the pool.
class AudioConverter {
 public:
  AudioConverter(MediaReaderFactory& readers, AudioResamplerFactory& resamplers, WorkerPool& pool,
                 const Logging& logging);

  Task<Result<std::vector<float>, ConversionError>> convert(QString filePath, ConversionOptions options);

 private:
  MediaReaderFactory& readers_;
  AudioResamplerFactory& resamplers_;
  WorkerPool& pool_;
  Logger logger_;
};

}  // namespace quillmere
