#pragma once
#include <QString>
#include <memory>
#include <span>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// Writes one WAV file of 16-bit integers, one channel. One thread at a time, any thread. Dropping a writer before
// finish() leaves a file that the caller removes.
class WavWriter {
 public:
  virtual ~WavWriter() = default;
  // Samples in [-1, 1]; what lies outside is cut off.
  virtual Result<void, PlatformError> append(std::span<const float> samples) = 0;
  // Completes the header and closes the file. Once, last.
  virtual Result<void, PlatformError> finish() = 0;
};

// Any thread.
class WavWriterFactory {
 public:
  virtual ~WavWriterFactory() = default;
  // Replaces a file of that name; only its owner may read it. The contents are WAV whatever the name's extension.
  virtual Result<std::unique_ptr<WavWriter>, PlatformError> create(const QString& path, int sampleRate) = 0;
};

}  // namespace quillmere
