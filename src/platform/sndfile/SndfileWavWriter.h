#pragma once
#include <sndfile.h>

#include <memory>

#include "ports/WavWriter.h"

namespace quillmere {

// WavWriter over libsndfile.
class SndfileWavWriter final : public WavWriter {
 public:
  static Result<std::unique_ptr<WavWriter>, PlatformError> create(const QString& path, int sampleRate);

  Result<void, PlatformError> append(std::span<const float> samples) override;
  Result<void, PlatformError> finish() override;

 private:
  struct Close {
    void operator()(SNDFILE* handle) const { sf_close(handle); }
  };
  explicit SndfileWavWriter(SNDFILE* handle) : handle_(handle) {}

  std::unique_ptr<SNDFILE, Close> handle_;
};

}  // namespace quillmere
