#pragma once
#include "platform/sndfile/SndfileWavWriter.h"

namespace quillmere {

class SndfileWavWriterFactory final : public WavWriterFactory {
 public:
  Result<std::unique_ptr<WavWriter>, PlatformError> create(const QString& path, int sampleRate) override {
    return SndfileWavWriter::create(path, sampleRate);
  }
};

}  // namespace quillmere
