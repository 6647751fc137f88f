#pragma once
#include <QFileInfo>
#include <optional>
#include <vector>

#include "ports/AudioResampler.h"
#include "ports/MediaReader.h"

namespace quillmere {

// Every existing file is 16 kHz mono floats of one length, unless the test says that opening fails.
class PlainSamples final : public MediaReaderFactory, public AudioResamplerFactory {
 public:
  qint64 frames = 16000;
  std::optional<MediaError::Kind> openError;
  std::optional<MediaError::Kind> readError;

  Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path, Output) override {
    if (openError) return Failed{MediaError{*openError, 0, QStringLiteral("cannot open")}};
    if (!QFileInfo::exists(path)) return Failed{MediaError{MediaError::Kind::cannotOpen, 2, QStringLiteral("no file")}};
    return std::unique_ptr<MediaReader>(std::make_unique<Reader>(frames, readError));
  }
  Result<double, MediaError> durationSeconds(const QString&, const std::atomic<bool>&) override {
    return static_cast<double>(frames) / 16000.0;
  }
  Result<std::unique_ptr<AudioResampler>, PlatformError> create(const AudioStreamFormat&, double) override {
    return Failed{PlatformError{QStringLiteral("test"), 1, QStringLiteral("nothing to resample")}};
  }

 private:
  class Reader final : public MediaReader {
   public:
    Reader(qint64 frames, std::optional<MediaError::Kind> readError) : frames_(frames), readError_(readError) {}
    TrackDescription trackDescription() const override { return {16000.0, 1}; }
    AudioStreamFormat format() const override {
      AudioStreamFormat format;
      format.sampleRate = 16000.0;
      format.channelCount = 1;
      return format;
    }
    std::optional<qint64> nominalFrames() const override { return std::nullopt; }
    Result<AudioBlock, MediaError> read(qint64 maxFrames) override {
      if (readError_) return Failed{MediaError{*readError_, 0, QStringLiteral("broken off")}};
      const qint64 count = std::min(maxFrames, frames_);
      frames_ -= count;
      samples_.assign(static_cast<size_t>(count), 0.25F);
      plane_ = reinterpret_cast<const std::byte*>(samples_.data());
      return AudioBlock{format(), std::span(&plane_, 1), count};
    }

   private:
    qint64 frames_;
    std::optional<MediaError::Kind> readError_;
    std::vector<float> samples_;
    const std::byte* plane_ = nullptr;
  };
};

}  // namespace quillmere
