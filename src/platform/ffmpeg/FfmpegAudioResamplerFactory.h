#pragma once
#include "platform/ffmpeg/FfmpegLog.h"
#include "ports/AudioResampler.h"

namespace quillmere {

// Resamplers over libswresample. Stateless; any thread.
class FfmpegAudioResamplerFactory final : public AudioResamplerFactory {
 public:
  explicit FfmpegAudioResamplerFactory(const FfmpegLog&) {}
  Result<std::unique_ptr<AudioResampler>, PlatformError> create(const AudioStreamFormat& source,
                                                                double targetSampleRate) override;
};

}  // namespace quillmere
