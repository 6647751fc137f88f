#pragma once
#include <memory>
#include <vector>

#include "platform/ffmpeg/FfmpegInput.h"
#include "ports/MediaReader.h"

namespace quillmere {

// Decodes the best audio track of a file. Blocks point into the decoder's own frames: nothing is copied. A packet that
// can't be decoded is left out, as players do; a file without a single good one is a read error.
class FfmpegMediaReader final : public MediaReader {
 public:
  static Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path);
  static Result<std::unique_ptr<MediaReader>, MediaError> open(std::unique_ptr<ffmpeg::FfmpegInput> input);

  TrackDescription trackDescription() const override { return description_; }
  AudioStreamFormat format() const override { return format_; }
  std::optional<qint64> nominalFrames() const override;
  bool hasPicture() const override { return input_->hasPicture(); }
  Result<AudioBlock, MediaError> read(qint64 maxFrames) override;
  bool seek(qint64 frame) override;

 private:
  FfmpegMediaReader() = default;
  // Fills frame_ with the next decoded frame: 0, AVERROR_EOF, or the error.
  int decodeNext();
  Result<AudioBlock, MediaError> fail(int code);

  std::unique_ptr<ffmpeg::FfmpegInput> input_;
  ffmpeg::Owned<AVCodecContext> decoder_;
  ffmpeg::Owned<AVPacket> packet_;
  ffmpeg::Owned<AVFrame> frame_;
  TrackDescription description_;
  AudioStreamFormat format_;
  AudioStreamFormat frameFormat_;
  std::vector<const std::byte*> planes_;
  qint64 frameOffset_ = 0;  // frames of frame_ given out
  bool hasFrame_ = false;
  bool isDraining_ = false;
  bool isAtEnd_ = false;
  bool hasGivenFrames_ = false;
  int lastDecodeError_ = 0;
};

}  // namespace quillmere
