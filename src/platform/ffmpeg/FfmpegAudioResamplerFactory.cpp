#include "platform/ffmpeg/FfmpegAudioResamplerFactory.h"

#include <cmath>

#include "platform/ffmpeg/FfmpegAudioResampler.h"

namespace quillmere {

using namespace ffmpeg;

Result<std::unique_ptr<AudioResampler>, PlatformError> FfmpegAudioResamplerFactory::create(
    const AudioStreamFormat& source, double targetSampleRate) {
  SwrPipe::Target target{AV_SAMPLE_FMT_FLT, int(std::lround(targetSampleRate)), {}};
  av_channel_layout_default(&target.layout, 1);
  auto pipe = SwrPipe::create(source, target);
  if (!pipe) return Failed{PlatformError{QStringLiteral("ffmpeg"), pipe.error(), errorText(pipe.error())}};
  return std::unique_ptr<AudioResampler>(std::make_unique<FfmpegAudioResampler>(std::move(pipe).value()));
}

}  // namespace quillmere
