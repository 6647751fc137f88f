#pragma once
#include <QString>
#include <atomic>
#include <memory>
#include <optional>

#include "platform/ffmpeg/FfmpegSupport.h"
#include "platform/ffmpeg/LocalFile.h"

namespace quillmere::ffmpeg {

// An opened media file with its best audio track chosen and all other tracks left aside. Containers that only point at
// other files or at the network are refused, and whatever a file says, nothing else is ever opened. One thread at a
// time.
class FfmpegInput {
 public:
  static Result<std::unique_ptr<FfmpegInput>, MediaError> open(const QString& path);

  const AVStream& stream() const { return *stream_; }
  const AVCodec& codec() const { return *codec_; }
  // Of moving pictures, which a cover or a still beside a chapter isn't.
  bool hasPicture() const;
  // Reads the next packet of the track: 0, AVERROR_EOF at the end, or the error.
  int readPacket(AVPacket& packet);
  // The next packet is the one of this time, or one a little before it.
  bool seek(double seconds);

  // As the file states it. Nothing when it says nothing.
  std::optional<double> statedSeconds() const;
  // A plain WAV, whose statement is the length of its samples.
  bool isWave() const;
  // As statedSeconds(), or by reading all packets where the statement is a guess or known to lie. The error is
  // `incomplete` for a WAV that states much more than it holds.
  Result<double, MediaError> measuredSeconds(const std::atomic<bool>& stop);

 private:
  FfmpegInput() = default;
  bool isStatementReliable() const;

  std::unique_ptr<LocalFile> file_;
  Owned<AVFormatContext> format_;
  const AVStream* stream_ = nullptr;
  const AVCodec* codec_ = nullptr;
  qint64 statedSoundBytes_ = 0;  // by the header of a WAV
  qint64 soundStart_ = 0;        // bytes before the first sample, in containers that begin with a header
};

}  // namespace quillmere::ffmpeg
