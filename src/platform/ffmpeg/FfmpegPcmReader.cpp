#include "platform/ffmpeg/FfmpegPcmReader.h"

#include <algorithm>

namespace quillmere {

using namespace ffmpeg;

FfmpegPcmReader::FfmpegPcmReader(std::unique_ptr<MediaReader> source)
    : source_(std::move(source)), format_(source_->format()) {
  format_.kind = AudioStreamFormat::SampleKind::signed16;
  format_.isPlanar = false;
}

Result<AudioBlock, MediaError> FfmpegPcmReader::read(qint64 maxFrames) {
  while (given_ == filled_ && !isAtEnd_) {
    const auto block = source_->read(maxFrames);
    if (!block) {
      isAtEnd_ = true;
      return Failed{block.error()};
    }
    if (block->frameCount > 0 && block->format == format_ && !pipe_) return *block;
    filled_ = given_ = 0;
    std::optional<MediaError> error;
    if (block->frameCount == 0) {
      isAtEnd_ = true;
      if (pipe_) error = fill({});
    } else {
      if (!pipe_ || block->format != pipeFormat_) error = switchTo(block->format);
      if (!error) error = fill(*block);
    }
    if (error) {
      isAtEnd_ = true;
      return Failed{*error};
    }
  }
  const qint64 count = std::min(maxFrames, filled_ - given_);
  if (count <= 0) return AudioBlock{};
  plane_ = samples_.data() + given_ * 2 * format_.channelCount;
  given_ += count;
  return AudioBlock{format_, std::span(&plane_, 1), count};
}

std::optional<MediaError> FfmpegPcmReader::switchTo(const AudioStreamFormat& format) {
  if (pipe_)
    if (auto error = fill({})) return error;
  const SwrPipe::Target target{AV_SAMPLE_FMT_S16, int(format_.sampleRate),
                               channelLayout(format_.channelMask, format_.channelCount)};
  auto pipe = SwrPipe::create(format, target);
  if (!pipe) return mediaError(MediaError::Kind::unsupported, pipe.error());
  pipe_ = std::move(pipe).value();
  pipeFormat_ = format;
  return std::nullopt;
}

std::optional<MediaError> FfmpegPcmReader::fill(const AudioBlock& block) {
  const int bound = pipe_->outputBound(int(block.frameCount));
  const size_t frameBytes = 2 * size_t(format_.channelCount);
  const size_t wanted = (size_t(filled_) + size_t(bound)) * frameBytes;
  if (samples_.size() < wanted) samples_.resize(wanted);
  uint8_t* const out = reinterpret_cast<uint8_t*>(samples_.data() + size_t(filled_) * frameBytes);
  const int written =
      pipe_->convert(&out, bound, block.frameCount > 0 ? block.planes.data() : nullptr, int(block.frameCount));
  if (written < 0) return mediaError(MediaError::Kind::readFailed, written);
  filled_ += written;
  return std::nullopt;
}

}  // namespace quillmere
