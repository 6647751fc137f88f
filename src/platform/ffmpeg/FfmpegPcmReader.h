#pragma once
#include <memory>
#include <optional>
#include <vector>

#include "platform/ffmpeg/SwrPipe.h"
#include "ports/MediaReader.h"

namespace quillmere {

// Gives what another reader decodes as 16-bit interleaved integers in the rate and channels that the other starts with,
// whatever the file changes to in its middle.
class FfmpegPcmReader final : public MediaReader {
 public:
  explicit FfmpegPcmReader(std::unique_ptr<MediaReader> source);

  TrackDescription trackDescription() const override { return source_->trackDescription(); }
  AudioStreamFormat format() const override { return format_; }
  std::optional<qint64> nominalFrames() const override { return source_->nominalFrames(); }
  bool hasPicture() const override { return source_->hasPicture(); }
  Result<AudioBlock, MediaError> read(qint64 maxFrames) override;

 private:
  // Converts into samples_; without planes: what the pipe held back.
  std::optional<MediaError> fill(const AudioBlock& block);
  std::optional<MediaError> switchTo(const AudioStreamFormat& format);

  std::unique_ptr<MediaReader> source_;
  AudioStreamFormat format_;
  AudioStreamFormat pipeFormat_;
  std::optional<ffmpeg::SwrPipe> pipe_;
  std::vector<std::byte> samples_;
  qint64 filled_ = 0;  // frames in samples_
  qint64 given_ = 0;   // of them given out
  bool isAtEnd_ = false;
  const std::byte* plane_ = nullptr;
};

}  // namespace quillmere
